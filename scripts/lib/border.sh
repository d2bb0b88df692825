# border BUILD REPETITIONS: prints what calls from Java and from Python take, beside a demo server of their own, for the
# scripts that source this file; nothing of a language that the build has no library for. It is called at the root of the tree.
border() {
  local jar="$1/bindings/java/vellora.jar" package="$1/bindings/python/package" port code=0
  port=$(mktemp -u)
  "$1/bin/records-server" --port-file "$port" --log-file /dev/null >/dev/null &
  local server=$!
  until [ -f "$port" ]; do sleep 0.05; done
  local address="http://127.0.0.1:$(cat "$port")"
  echo
  echo "| across the border | |"
  echo "|---|---|"
  if [ -f "$jar" ]; then
    java -cp "$jar" bench/JavaBorder.java "$address" "$2" || code=1
  else
    echo "scripts/bench: nothing is said of Java, since there is no JDK" >&2
  fi
  if [ -d "$package" ]; then
    PYTHONPATH="$package" python3 -B bench/python_border.py "$address" "$2" || code=1
  else
    echo "scripts/bench: nothing is said of Python, since there is no python3-wheel" >&2
  fi
  kill "$server"
  rm -f "$port"
  return "$code"
}

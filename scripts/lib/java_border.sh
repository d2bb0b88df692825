# java_border BUILD REPETITIONS: prints what calls from Java take, beside a demo server of their own, for the scripts that
# source this file; nothing where the build has no jar. It is called at the root of the tree.
java_border() {
  local jar="$1/bindings/java/vellora.jar" port
  if [ ! -f "$jar" ]; then
    echo "scripts/bench: nothing is said of Java, since there is no JDK" >&2
    return
  fi
  port=$(mktemp -u)
  "$1/bin/records-server" --port-file "$port" --log-file /dev/null >/dev/null &
  local server=$!
  until [ -f "$port" ]; do sleep 0.05; done
  echo
  echo "| across the border | |"
  echo "|---|---|"
  java -cp "$jar" bench/JavaBorder.java "http://127.0.0.1:$(cat "$port")" "$2" || { kill "$server"; return 1; }
  kill "$server"
  rm -f "$port"
}

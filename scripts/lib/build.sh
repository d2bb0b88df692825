# For the scripts that build and source this file. They call its functions at the root of the tree.

# configure PRESET: also makes build/compile_commands.json lead to what the preset compiles, since that is where clangd looks.
configure() {
  cmake --preset "$1" >/dev/null
  ln -sfn "$1/compile_commands.json" build/compile_commands.json
}

# build PRESET TARGET…: installs what building needs, configures, and builds the targets. What it says goes to standard error.
build() {
  scripts/setup build
  configure "$1"
  cmake --build --preset "$1" --target "${@:2}" >&2
}

# build PRESET TARGET…: installs what building needs, configures under the preset, and builds the targets, for the scripts
# that source this file. What it says goes to standard error. It is called at the root of the tree.
build() {
  scripts/setup build
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1" --target "${@:2}" >&2
}

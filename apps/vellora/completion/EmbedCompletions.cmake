# cmake -DFOLDER=… -DOUTPUT=… -P EmbedCompletions.cmake: writes the C++ source that holds the shells' completions.
include("${CMAKE_CURRENT_LIST_DIR}/../../../cmake/RawString.cmake")
raw_string(bash "${FOLDER}/vellora")
raw_string(zsh "${FOLDER}/_vellora")
raw_string(fish "${FOLDER}/vellora.fish")

set(code "#include \"apps/vellora/completion/Completions.h\"\n\nnamespace vellora::command {\n\n")
string(APPEND code "std::optional<std::string_view> completionFor(std::string_view shell) {\n")
foreach(shell IN ITEMS bash zsh fish)
  string(APPEND code "  if (shell == \"${shell}\") return ${${shell}};\n")
endforeach()
string(APPEND code "  return std::nullopt;\n}\n\n}  // namespace vellora::command\n")
file(WRITE "${OUTPUT}" "${code}")

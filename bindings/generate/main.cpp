// Writes the records of answers in the terms of another language.
//
//     generate-records java FOLDER      one file for each record
//     generate-records python FILE      one module

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "bindings/generate/JavaRecords.h"
#include "bindings/generate/PythonRecords.h"
#include "bindings/generate/RecordTable.h"

namespace {

bool write(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (file) return true;
  std::cerr << "generate-records: cannot write " << path.string() << '\n';
  return false;
}

bool writeJava(const std::filesystem::path& folder) {
  for (const auto& record : vellora::generate::recordsOfAnswers())
    if (!write(folder / (record.name + ".java"), javaClass(record))) return false;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view language = argc == 3 ? argv[1] : "";
  if (language == "java") return writeJava(argv[2]) ? 0 : 1;
  if (language == "python")
    return write(argv[2], pythonModule(vellora::generate::recordsOfAnswers())) ? 0 : 1;
  std::cerr << "usage: generate-records java FOLDER | python FILE\n";
  return 2;
}

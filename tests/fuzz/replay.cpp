// Tries files, and the files in folders, on the target that this is linked with. For compilers without a
// fuzzer.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "support/temp_folder.h"

namespace {

using Paths = std::vector<std::filesystem::path>;

/// The files that `path` stands for, in the order of their names.
Paths files_at(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return {path};
  Paths files;
  for (const auto& entry : std::filesystem::directory_iterator(path))
    files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

void replay(const std::filesystem::path& file) {
  std::printf("%s\n", file.c_str());
  std::fflush(stdout);  // Which input it was must be known when the target ends the program.
  const std::string content = tavtest::read_file(file.string());
  // In a block of just that size, so that a sanitizer sees what lies behind it.
  const std::vector<std::uint8_t> exact(content.begin(), content.end());
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s FILE|FOLDER...\n", argv[0]);
    return 2;
  }
  try {
    for (const std::string& path : std::vector<std::string>(argv + 1, argv + argc)) {
      const Paths files = files_at(path);
      if (files.empty()) throw std::runtime_error(path + " holds no input");
      for (const auto& file : files)
        replay(file);
    }
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s: %s\n", argv[0], problem.what());
    return 1;
  }
  return 0;
}

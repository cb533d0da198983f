#ifndef TAVLIB_TESTS_SUPPORT_TEMP_FOLDER_H
#define TAVLIB_TESTS_SUPPORT_TEMP_FOLDER_H

#include <filesystem>
#include <string>

namespace tavtest {

/// A new empty folder, removed with all that is in it at the end.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();

  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  /// The path of `name` in the folder.
  std::string file(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

/// The bytes of a file. Throws when it cannot be read.
std::string read_file(const std::string& path);

/// Makes `content` the bytes of a file. Throws when it cannot be written.
void write_file(const std::string& path, const std::string& content);

}  // namespace tavtest

#endif

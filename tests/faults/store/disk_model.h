#ifndef TAVLIB_TESTS_FAULTS_STORE_DISK_MODEL_H
#define TAVLIB_TESTS_FAULTS_STORE_DISK_MODEL_H

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "faults/store/file_calls.h"

namespace tavtest {

/// One change of a folder or of a file in it, or a sync of either.
struct DiskEvent {
  enum class Kind { create, write, truncate, sync_file, sync_folder, rename, unlink };

  Kind kind;
  std::string name{};      ///< Of the file as it is called then.
  std::string new_name{};  ///< Of a rename.
  off_t position{0};       ///< Of a write; the new size of a truncation.
  std::string bytes{};     ///< Of a write.
};

/// A folder on a disk that keeps for certain only what was synced. Of a file that may be any state since its
/// last sync, also one in which a write came to the disk in part, or as zero bytes because only the new size
/// did. Of the folder's names it may be any state since the folder was synced, whatever became of the files'
/// bytes.
class DiskModel {
 public:
  using Content = std::optional<std::string>;  // Nothing: there is no such file.

  /// Starts with files that are safely on the disk.
  explicit DiskModel(const std::map<std::string, std::string>& files);

  void apply(const DiskEvent& event);

  /// What the file is as long as the power stays on.
  Content now(const std::string& name) const;

  /// What the file may be after the power failed.
  std::set<Content> after_power_loss(const std::string& name) const;

 private:
  // A file: its states since it was last synced, that state first and the present one last.
  using States = std::vector<std::string>;
  using Names = std::map<std::string, std::size_t>;

  void change(const DiskEvent& event);

  std::vector<States> files_;
  std::vector<Names> folder_{Names()};  // Likewise.
};

/// Records the changes that are made to a folder and its files while it lives.
class DiskRecorder : public FileCallWatcher {
 public:
  explicit DiskRecorder(std::string folder) : folder_(std::move(folder)) {}

  int before(FileCall& call) override;
  void after(const FileCall& call, long result) override;

  const std::vector<DiskEvent>& events() const { return events_; }

 private:
  std::string name_of(const std::string& path) const;
  std::string name_of(int fd) const;

  const std::string folder_;
  std::vector<DiskEvent> events_;
  bool existed_{false};
};

}  // namespace tavtest

#endif

#include "faults/store/disk_model.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

namespace tavtest {
namespace {

std::string written_over(std::string content, std::size_t position, std::string_view bytes) {
  content.resize(std::max(content.size(), position + bytes.size()));
  return content.replace(position, bytes.size(), bytes);
}

}  // namespace

DiskModel::DiskModel(const std::map<std::string, std::string>& files) {
  for (const auto& [name, content] : files) {
    folder_.back()[name] = files_.size();
    files_.push_back({content});
  }
}

void DiskModel::apply(const DiskEvent& event) {
  using Kind = DiskEvent::Kind;
  Names names = folder_.back();
  switch (event.kind) {
    case Kind::sync_folder:
      folder_ = {names};
      return;
    case Kind::create:
      names[event.name] = files_.size();
      files_.push_back({""});
      break;
    case Kind::rename:
      names[event.new_name] = names.at(event.name);
      names.erase(event.name);
      break;
    case Kind::unlink:
      names.erase(event.name);
      break;
    default:
      return change(event);
  }
  folder_.push_back(names);
}

void DiskModel::change(const DiskEvent& event) {
  States& states = files_.at(folder_.back().at(event.name));
  const std::string present = states.back();
  const auto position = static_cast<std::size_t>(event.position);
  if (event.kind == DiskEvent::Kind::sync_file) {
    states = {present};
    return;
  }
  if (event.kind == DiskEvent::Kind::truncate) {
    std::string cut = present;
    cut.resize(position);
    states.push_back(cut);
    return;
  }
  for (std::size_t size = 1; size < event.bytes.size(); ++size)
    states.push_back(written_over(present, position, event.bytes.substr(0, size)));
  states.push_back(written_over(present, position, std::string(event.bytes.size(), '\0')));
  states.push_back(written_over(present, position, event.bytes));
}

DiskModel::Content DiskModel::now(const std::string& name) const {
  const auto found = folder_.back().find(name);
  return found == folder_.back().end() ? Content() : files_[found->second].back();
}

std::set<DiskModel::Content> DiskModel::after_power_loss(const std::string& name) const {
  std::set<Content> contents;
  for (const Names& names : folder_) {
    const auto found = names.find(name);
    if (found == names.end()) {
      contents.insert(Content());
    } else {
      contents.insert(files_[found->second].begin(), files_[found->second].end());
    }
  }
  return contents;
}

std::string DiskRecorder::name_of(const std::string& path) const {
  const std::filesystem::path whole(path);
  if (whole.parent_path() != folder_) throw std::logic_error("a file elsewhere: " + path);
  return whole.filename();
}

std::string DiskRecorder::name_of(int fd) const {
  return name_of(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd)).string());
}

int DiskRecorder::before(FileCall& call) {
  if (call.name == "open") existed_ = std::filesystem::exists(call.path);
  return 0;
}

void DiskRecorder::after(const FileCall& call, long result) {
  using Kind = DiskEvent::Kind;
  if (result == -1) return;
  if (call.name == "open") {
    if (!existed_) events_.push_back({.kind = Kind::create, .name = name_of(call.path)});
    if (existed_ && (call.flags & O_TRUNC) != 0)
      events_.push_back({.kind = Kind::truncate, .name = name_of(call.path)});
  } else if (call.name == "write") {
    const off_t end = call.position == -1 ? lseek(call.fd, 0, SEEK_CUR) : call.position + result;
    events_.push_back({.kind = Kind::write,
                       .name = name_of(call.fd),
                       .position = end - result,
                       .bytes = std::string(call.bytes.substr(0, static_cast<std::size_t>(result)))});
  } else if (call.name == "truncate") {
    events_.push_back({.kind = Kind::truncate, .name = name_of(call.fd), .position = call.position});
  } else if (call.name == "sync") {
    if (std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(call.fd)) == folder_) {
      events_.push_back({.kind = Kind::sync_folder});
    } else {
      events_.push_back({.kind = Kind::sync_file, .name = name_of(call.fd)});
    }
  } else if (call.name == "rename") {
    events_.push_back({.kind = Kind::rename, .name = name_of(call.path), .new_name = name_of(call.new_path)});
  } else if (call.name == "unlink") {
    events_.push_back({.kind = Kind::unlink, .name = name_of(call.path)});
  }
}

}  // namespace tavtest

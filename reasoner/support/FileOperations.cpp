#include "reasoner/support/FileOperations.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#if defined(__linux__)
#include <fcntl.h>
#endif

namespace reasoner {

namespace fs = std::filesystem;

// The system would take the name's first part for all of it.
static bool IsWholeName(const std::string& file_name) {
  return !file_name.empty() && file_name.find('\0') == std::string::npos;
}

bool FileExists(const std::string& file_name) {
  std::error_code failure;
  return IsWholeName(file_name) && fs::exists(file_name, failure);
}

bool RemoveFile(const std::string& file_name) {
  if (!IsWholeName(file_name)) return false;
  std::error_code failure;
  if (!fs::is_regular_file(fs::symlink_status(file_name, failure))) return false;
  return fs::remove(file_name, failure);
}

bool RenameFile(const std::string& old_name, const std::string& new_name) {
  if (!IsWholeName(old_name) || !IsWholeName(new_name)) return false;
#if defined(RENAME_NOREPLACE)
  if (renameat2(AT_FDCWD, old_name.c_str(), AT_FDCWD, new_name.c_str(), RENAME_NOREPLACE) == 0)
    return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
#endif
  // Where the system has no way to do both at once.
  std::error_code failure;
  if (fs::exists(fs::symlink_status(new_name, failure))) return false;
  fs::rename(old_name, new_name, failure);
  return !failure;
}

}  // namespace reasoner

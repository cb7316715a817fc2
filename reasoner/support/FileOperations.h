// Asking for, removing and renaming files.

#pragma once

#include <string>

namespace reasoner {

// Whether anything stands under the name.
bool FileExists(const std::string& file_name);
// Both give whether it has been done. Only a regular file is removed: no folder, device or link.
bool RemoveFile(const std::string& file_name);
// What stands under the new name is never overwritten.
bool RenameFile(const std::string& old_name, const std::string& new_name);

}  // namespace reasoner

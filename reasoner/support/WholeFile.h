// Files that are written whole or not at all.

#pragma once

#include <string>
#include <string_view>

namespace reasoner {

// Replaces the file's content. The bytes go to a temporary file beside the target, which then takes
// the target's name and mode: whoever reads the target sees the old content or the new one, and a
// failure leaves the old one. A symbolic link stays, and what it leads to is replaced; what is no
// regular file is written directly. Raises EKitException with the file's name and the reason.
void WriteFileWhole(const std::string& file_name, std::string_view bytes);

}  // namespace reasoner

#include "reasoner/support/WholeFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <system_error>

#if __has_include(<unistd.h>)
#include <unistd.h>
#endif

#include "reasoner/support/Exception.h"
#include "reasoner/support/Streams.h"

namespace reasoner {

namespace fs = std::filesystem;

[[noreturn]] static void Fail(const std::string& file_name, const std::string& reason) {
  throw EKitException("Cannot write " + file_name + ": " + reason);
}

// Where a chain of symbolic links leads, whether there is anything or not.
static fs::path LinkTarget(fs::path path) {
  static constexpr int kMaxLinks = 40;
  for (int i = 0; i < kMaxLinks; ++i) {
    std::error_code none;
    if (!fs::is_symlink(fs::symlink_status(path, none))) break;
    const fs::path target = fs::read_symlink(path, none);
    if (none) break;
    path = target.is_absolute() ? target : path.parent_path() / target;
  }
  return path;
}

namespace {

// A new file beside the target; it goes again unless it has taken the target's place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const fs::path& target) {
    std::random_device random;
    for (int attempt = 0; file_ == nullptr; ++attempt) {
      path_ = target;
      path_ += "." + std::to_string(random()) + ".tmp";
      file_ = std::fopen(path_.string().c_str(), "wbx");
      if (file_ == nullptr && (errno != EEXIST || attempt > 100))
        Fail(target.string(), std::strerror(errno));
    }
  }
  ~TemporaryFile() {
    if (file_ != nullptr) std::fclose(file_);
    std::error_code none;
    if (!path_.empty()) fs::remove(path_, none);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const fs::path& GetPath() const noexcept { return path_; }

  // Gives the first error, or 0.
  int Write(std::string_view bytes) {
    int error = 0;
    const auto check = [&error](bool good) {
      if (!good && error == 0) error = errno;
    };
    check(std::fwrite(bytes.data(), 1, bytes.size(), file_) == bytes.size());
    check(std::fflush(file_) == 0);
#if __has_include(<unistd.h>)
    // On the disk before the name: a loss of power leaves one of the two contents. Some file
    // systems know no such thing.
    check(fsync(fileno(file_)) == 0 || errno == EINVAL);
#endif
    check(std::fclose(file_) == 0);
    file_ = nullptr;
    return error;
  }

  void Become(const fs::path& target) {
    std::error_code failure;
    fs::rename(path_, target, failure);
    if (failure) Fail(target.string(), failure.message());
    path_.clear();
  }

 private:
  fs::path path_;
  std::FILE* file_ = nullptr;
};

}  // namespace

void WriteFileWhole(const std::string& file_name, std::string_view bytes) {
  const fs::path target = LinkTarget(file_name);
  std::error_code none;
  const fs::file_status status = fs::status(target, none);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    TFileStream stream(file_name, fmCreate);
    stream.Write(bytes);
    stream.Flush();
    return;
  }
  TemporaryFile temporary(target);
  if (const int error = temporary.Write(bytes)) Fail(file_name, std::strerror(error));
  if (fs::exists(status)) {
    fs::permissions(temporary.GetPath(), status.permissions(), none);
    if (none) Fail(file_name, none.message());
  }
  temporary.Become(target);
}

}  // namespace reasoner

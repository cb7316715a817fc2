#include "tests/console/ConsoleRun.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace console_test {

namespace {

// A file without a name, gone when it is closed. Files take any amount of output without a reader.
using TFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

TFile MakeFile(const std::string& text) {
  TFile file(std::tmpfile(), &std::fclose);
  if (!file) throw std::runtime_error("no temporary file");
  std::fwrite(text.data(), 1, text.size(), file.get());
  std::rewind(file.get());
  return file;
}

std::string ReadAll(std::FILE* file) {
  std::string text;
  std::rewind(file);
  for (int character = 0; (character = std::fgetc(file)) != EOF;)
    text += static_cast<char>(character);
  return text;
}

}  // namespace

TRunResult RunProgram(const std::vector<std::string>& arguments, const std::string& input) {
  const TFile in = MakeFile(input);
  const TFile out = MakeFile("");
  const TFile errors = MakeFile("");
  std::vector<std::string> words = arguments;
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no process");
  if (child == 0) {
    dup2(fileno(in.get()), STDIN_FILENO);
    dup2(fileno(out.get()), STDOUT_FILENO);
    dup2(fileno(errors.get()), STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadAll(out.get()), ReadAll(errors.get())};
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot be read: " + path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace console_test

#include "tools/images/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <utility>
#include <vector>

#include "tools/failure.h"

namespace tool {
namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

// The temporary file that exists now, for the signal handler; an empty text is none. Changed only while the
// ending signals are blocked.
char gTemporary[PATH_MAX] = "";

extern "C" void RemoveTemporaryAndEnd(int signal) {
  if (gTemporary[0] != '\0') unlink(gTemporary);
  std::signal(signal, SIG_DFL);
  raise(signal);
}

// Keeps the ending signals off while the file system and gTemporary disagree.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : kEndingSignals) sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &previous_);
  }
  ~SignalsBlocked() { sigprocmask(SIG_SETMASK, &previous_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t previous_{};
};

void WatchSignals() {
  struct sigaction action {};
  action.sa_handler = RemoveTemporaryAndEnd;
  for (const int signal : kEndingSignals) {
    struct sigaction current {};
    sigaction(signal, nullptr, &current);
    // nohup and the like have asked for it to be ignored.
    if (current.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }
}

void RemoveTemporary(std::string* name) {
  if (name->empty()) return;
  const SignalsBlocked blocked;
  unlink(name->c_str());
  gTemporary[0] = '\0';
  name->clear();
}

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == path.npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

unsigned DefaultMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666u & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string& path, bool overwrite)
    : path_(path), overwrite_(overwrite), mode_(DefaultMode()) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode))
      throw Failure(Exit::kOutput, "\"" + path + "\" is a folder: name a file in it");
    direct_ = !S_ISREG(status.st_mode);
    mode_ = status.st_mode & 07777u;
    if (!direct_ && !overwrite) Fail(EEXIST);
  }
  const std::string folder = FolderOf(path);
  if (!direct_ && access(folder.c_str(), W_OK | X_OK) != 0) Fail(errno);
}

OutputFile::~OutputFile() {
  if (file_) std::fclose(file_);
  RemoveTemporary(&temporary_);
}

void OutputFile::Fail(int error) const {
  if (error == EEXIST)
    throw Failure(Exit::kOutput,
                  "\"" + path_ + "\" exists already: choose another name, or overwrite it with --force");
  const char* wayOut = error == ENOENT   ? ": make its folder first"
                       : error == ENOSPC ? ": make room on the disk"
                                         : ": write to a folder of your own";
  throw Failure(Exit::kOutput, "can't write \"" + path_ + "\" (" + std::strerror(error) + ")" + wayOut);
}

std::FILE* OutputFile::Open() {
  if (direct_) {
    file_ = std::fopen(path_.c_str(), "wb");
  } else {
    OpenTemporary();
  }
  if (!file_) Fail(errno);
  return file_;
}

void OutputFile::OpenTemporary() {
  const std::string pattern = FolderOf(path_) + "/.pixmorph-XXXXXX";
  if (pattern.size() >= sizeof gTemporary) Fail(ENAMETOOLONG);
  std::vector<char> name(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
  WatchSignals();
  const SignalsBlocked blocked;
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) Fail(errno);
  temporary_ = name.data();
  std::memcpy(gTemporary, name.data(), name.size());
  fchmod(descriptor, mode_);
  file_ = fdopen(descriptor, "wb");
  if (!file_) close(descriptor);
}

void OutputFile::Commit() {
  const bool complete = std::ferror(file_) == 0;
  const int closed = std::fclose(std::exchange(file_, nullptr));
  if (!complete || closed != 0) Fail(closed != 0 ? errno : EIO);
  if (direct_) return;
  const SignalsBlocked blocked;
  // Somebody may have made the file since the check; where the file system can't refuse by itself, overwrite.
  int renamed =
      overwrite_ ? -1 : renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE);
  if (renamed != 0 && !overwrite_ && errno == EEXIST) Fail(EEXIST);
  if (renamed != 0) renamed = rename(temporary_.c_str(), path_.c_str());
  if (renamed != 0) Fail(errno);
  temporary_.clear();
  gTemporary[0] = '\0';
}

}  // namespace tool

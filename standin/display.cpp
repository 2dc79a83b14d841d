#include "standin/display.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "standin/internal/toolkit.h"

namespace standin {
namespace {

std::string Connect() {
  const char* name = std::getenv("DISPLAY");
  if (name == nullptr || *name == '\0') return "no X display: DISPLAY is not set";
  try {
    int argc = 0;
    char** argv = nullptr;
    if (Gdk().init_check(&argc, &argv) == 0)
      return std::string("the X display ") + name + " cannot be opened";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return {};
}

// In the child: becomes the server, which writes its display number to `out`.
[[noreturn]] void BecomeServer(int out) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  const int null = open("/dev/null", O_RDWR);
  dup2(null, STDIN_FILENO);
  dup2(null, STDOUT_FILENO);
  dup2(null, STDERR_FILENO);
  const std::string number = std::to_string(out);
  execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "64x64x24", "-nolisten", "tcp",
         "-noreset", static_cast<char*>(nullptr));
  _exit(127);
}

std::string ReadLine(int from) {
  std::string line;
  char byte = 0;
  while (read(from, &byte, 1) == 1 && byte != '\n') line.push_back(byte);
  return line;
}

}  // namespace

std::string ConnectDisplay() {
  static bool connected = false;
  if (connected) return {};
  std::string failure = Connect();
  connected = failure.empty();
  return failure;
}

void EnsureDisplay() {
  const std::string failure = ConnectDisplay();
  if (!failure.empty()) throw std::runtime_error(failure);
}

OwnDisplay::OwnDisplay() : owner_(getpid()) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe to an X server");
  server_ = fork();
  if (server_ == 0) {
    close(ends[0]);
    BecomeServer(ends[1]);
  }
  close(ends[1]);
  const std::string number = server_ > 0 ? ReadLine(ends[0]) : std::string();
  close(ends[0]);
  if (number.empty()) {
    if (server_ > 0) waitpid(server_, nullptr, 0);
    throw std::runtime_error("Xvfb could not be started");
  }
  name_ = ":" + number;
  if (const char* previous = std::getenv("DISPLAY")) {
    previous_ = previous;
    hadPrevious_ = true;
  }
  setenv("DISPLAY", name_.c_str(), 1);
}

OwnDisplay::~OwnDisplay() {
  if (getpid() != owner_) return;  // a forked child's copy
  kill(server_, SIGTERM);
  waitpid(server_, nullptr, 0);
  if (hadPrevious_) {
    setenv("DISPLAY", previous_.c_str(), 1);
  } else {
    unsetenv("DISPLAY");
  }
}

}  // namespace standin

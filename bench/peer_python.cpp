#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "bench/peer.h"

// Libraries that are reached through Python run in a child process, which inherits the pinned core and times
// itself; one line asks for a run, one line answers with milliseconds.
namespace bench {
namespace {

class Child {
 public:
  Child(const std::string& module, const std::string& script) {
    int toChild[2], fromChild[2];
    // Closed on exec: a later child that kept our end open would keep this one waiting for more.
    if (pipe2(toChild, O_CLOEXEC) != 0 || pipe2(fromChild, O_CLOEXEC) != 0) return;
    if (fork() == 0) {
      dup2(toChild[0], 0);
      dup2(fromChild[1], 1);
      execlp("python3", "python3", script.c_str(), module.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    close(toChild[0]);
    close(fromChild[1]);
    out_ = fdopen(toChild[1], "w");
    in_ = fdopen(fromChild[0], "r");
  }
  ~Child() {
    if (out_) fclose(out_);
    if (in_) fclose(in_);
    wait(nullptr);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // The answer to one line; empty when the child is gone.
  std::string Ask(const std::string& line) {
    if (!out_ || !in_ || std::fprintf(out_, "%s\n", line.c_str()) < 0 || std::fflush(out_) != 0) return {};
    char answer[256];
    if (!std::fgets(answer, sizeof answer, in_)) return {};
    answer[std::strcspn(answer, "\n")] = 0;
    return answer;
  }

 private:
  FILE* out_ = nullptr;
  FILE* in_ = nullptr;
};

const char* MethodName(const Workload& w) {
  switch (w.method) {
    case Method::kScale:
      return w.antiAlias ? "smooth" : w.width < w.sourceWidth ? "average" : "repeat";
    case Method::kScaling:
      return kKernelNames[w.mode];
    case Method::kBlur:
      return "blur";
    default:
      return "draw";
  }
}

class Python : public Peer {
 public:
  Python(const std::string& module, const std::string& script) : name_(module), child_(module, script) {}
  std::string Name() const override { return name_ + " (64-bit)"; }
  bool Works() { return child_.Ask("hello") == "ready"; }

  TimedRun Prepare(const Workload& w, std::string* what) override {
    char line[128];
    std::snprintf(line, sizeof line, "prepare %s %d %d %d %d %d", MethodName(w), w.sourceWidth,
                  w.sourceHeight, w.width, w.height, static_cast<int>(w.radius));
    const std::string answer = child_.Ask(line);
    if (answer.rfind("ok ", 0) != 0) return {};
    *what = answer.substr(answer.find(' ', 3) + 1);
    const std::string number = answer.substr(3, answer.find(' ', 3) - 3);
    return [this, number] { return std::atof(child_.Ask("run " + number).c_str()); };
  }

 private:
  std::string name_;
  Child child_;
};

}  // namespace

std::unique_ptr<Peer> MakePython(const std::string& module, const std::string& script) {
  auto peer = std::make_unique<Python>(module, script);
  return peer->Works() ? std::move(peer) : nullptr;
}

}  // namespace bench

#include "tests/support/fresh_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <iostream>

namespace test {
namespace {

enum ChildStatus { kPassed = 0, kFailed = 1, kThrew = 2 };

int FailuresSoFar() {
  const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
  if (test == nullptr) return 0;
  int failures = 0;
  for (int i = 0; i < test->result()->total_part_count(); ++i) {
    if (test->result()->GetTestPartResult(i).failed()) ++failures;
  }
  return failures;
}

int RunBody(const std::function<void()>& body) {
  // The test that forked may have failed before; only what happens here counts.
  const int failedBefore = FailuresSoFar();
  try {
    body();
  } catch (const std::exception& error) {
    std::cerr << "exception: " << error.what() << '\n';
    return kThrew;
  } catch (...) {
    std::cerr << "an exception of unknown type\n";
    return kThrew;
  }
  return FailuresSoFar() > failedBefore ? kFailed : kPassed;
}

[[noreturn]] void BecomeChild(int out, const std::function<void()>& body) {
  dup2(out, STDOUT_FILENO);
  dup2(out, STDERR_FILENO);
  close(out);
  // A stop of the run is an answer here, not something to leave a core file about.
  signal(SIGABRT, SIG_DFL);
  const int status = RunBody(body);
  std::cout.flush();
  std::fflush(nullptr);
  _exit(status);
}

// Seconds of the kernel's own clock: the test may stand still on the process's.
long Now() { return static_cast<long>(time(nullptr)); }

void ReadUntilEnd(int from, pid_t child, int seconds, std::string* output) {
  const long deadline = Now() + seconds;
  char buffer[4096];
  for (;;) {
    pollfd wait{from, POLLIN, 0};
    if (poll(&wait, 1, 1000) > 0) {
      const ssize_t got = read(from, buffer, sizeof buffer);
      if (got <= 0) return;
      output->append(buffer, static_cast<std::size_t>(got));
    }
    if (Now() > deadline) {
      kill(child, SIGKILL);
      return;
    }
  }
}

std::string Describe(const ChildResult& result) {
  if (!result.exited) return "the child died of signal " + std::to_string(result.signal);
  return "the child ended with status " + std::to_string(result.status);
}

testing::AssertionResult Verdict(bool good, const ChildResult& result) {
  return (good ? testing::AssertionSuccess() : testing::AssertionFailure())
         << Describe(result) << ", and wrote:\n"
         << result.output;
}

}  // namespace

ChildResult InChild(const std::function<void()>& body, int seconds) {
  ChildResult result;
  int ends[2];
  std::cout.flush();
  std::fflush(nullptr);
  if (pipe(ends) != 0) return result;
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    BecomeChild(ends[1], body);
  }
  close(ends[1]);
  ReadUntilEnd(ends[0], child, seconds, &result.output);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  result.exited = WIFEXITED(status);
  if (result.exited) result.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

testing::AssertionResult PassesInChild(const std::function<void()>& body, int seconds) {
  const ChildResult result = InChild(body, seconds);
  return Verdict(result.exited && result.status == kPassed, result);
}

testing::AssertionResult StopsRun(const std::function<void()>& body, const std::string& text) {
  const ChildResult result = InChild(body);
  // The address sanitizer may turn the signal into an exit of its own.
  const bool stopped = result.signal == SIGABRT || (result.exited && result.status > kThrew);
  return Verdict(stopped && result.output.find(text) != std::string::npos, result);
}

testing::AssertionResult Faults(const std::function<void()>& body) {
  const ChildResult result = InChild(body);
  const bool reported = result.output.find("AddressSanitizer: SEGV") != std::string::npos;
  return Verdict(result.signal == SIGSEGV || result.signal == SIGBUS || reported, result);
}

}  // namespace test

#pragma once

#include <functional>
#include <string>

#include <gtest/gtest.h>

// Runs test code in a forked child, since the plugin reads the runtime's version and run mode once per
// process.
namespace test {

struct ChildResult {
  bool exited = false;  // ended by itself, with `status`
  int status = -1;
  int signal = 0;      // ended by this signal
  std::string output;  // stdout and stderr together
};

// Runs `body` in a child and waits (at most `seconds`, then the child is killed: signal SIGKILL). Status 0:
// the body returned, without failed expectations; 1: with; 2: an exception left it.
ChildResult InChild(const std::function<void()>& body, int seconds = 120);

// Passes when the body passed in its child; otherwise carries the child's output.
testing::AssertionResult PassesInChild(const std::function<void()>& body, int seconds = 120);
// Passes when the child was stopped by abort() after a report that contains `text`.
testing::AssertionResult StopsRun(const std::function<void()>& body, const std::string& text);
// Passes when the child died of a memory fault.
testing::AssertionResult Faults(const std::function<void()>& body);

}  // namespace test

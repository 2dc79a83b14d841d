#pragma once

#include <optional>
#include <set>
#include <string>

#include "host/types.h"
#include "picture/editor.h"
#include "standin/display.h"
#include "standin/faults.h"
#include "standin/ledger.h"
#include "standin/picture.h"
#include "standin/runtime.h"
#include "tests/support/fresh_process.h"

// What the tests of picture access share: a started runtime, and what the plugin asked of it as one line.
namespace test {

using standin::Config;
using standin::Mode;
using standin::Ref;
using standin::Store;

constexpr double kOldVersion = 2011.99;  // unlocks after a refused lock
constexpr double kNewVersion = 2012.0;

// Starts the runtime and attaches the plugin's code to it, with the log on and empty.
void StartWorld(const Config& config);
Config ConfigFor(Mode mode, std::optional<double> version = kNewVersion);

// The services called since the last `ClearLog`, in order, as words such as "lock12 ref unlock unref".
std::string Trace();

inline pixmorph::REALpictureStruct* Handle(const Ref& picture) {
  return picture.As<pixmorph::REALpictureStruct>();
}

// An X server for all tests of the program, started on first use and before any child connects.
void NeedDisplay();

}  // namespace test

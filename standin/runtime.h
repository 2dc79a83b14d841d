#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "standin/picture.h"

// A runtime for the plugin to live in. There is one per process, since the plugin reaches it through plain C
// functions; it is not for more than one thread.
namespace standin {

enum class Mode { kConsole, kCairo, kGdk };

struct Config {
  // What "REALGetRBVersion" reports; empty: the runtime has no such service.
  std::optional<double> version = 2015.021;
  // Decides the application class and the stores below where they are left empty.
  Mode mode = Mode::kCairo;
  // Application classes that exist; empty: "ConsoleApplication" in console mode, "Application" otherwise.
  std::optional<std::set<std::string>> applicationClasses;
  // Memory of pictures that the runtime makes itself: plain ones, those with an alpha channel, masks (as
  // plain ones when empty).
  std::optional<StoreOptions> newPictures;
  std::optional<StoreOptions> newAlphaPictures;
  std::optional<StoreOptions> newMasks;

  // Hands the pixel memory of released pictures out again without clearing it, so that measurements do not
  // measure the system's page faults. Unguarded memory only.
  bool recyclePixels = false;
  // Keeps a list of the blocks that the plugin allocates; without it the ledger knows nothing of them. Costs
  // time where the plugin is linked into a program that allocates much of its own.
  bool watchMemory = true;

  std::set<std::string> missingServices;    // by resolver name
  std::set<std::string> missingMethods;     // object and global methods, by declaration
  std::set<std::string> missingProperties;  // by name: reading and writing them fails
  std::set<std::string> missingClasses;     // by name: no class reference, no instances
  // Services of the test's own, by resolver name: in place of the built-in ones or in addition to them. They
  // are called by the plugin directly, uncounted.
  std::unordered_map<std::string, void*> overrides;

  // Run by "REALYieldToRB": the script code that gets its turn. It may call the plugin again.
  std::function<void()> onYield;
};

using Resolver = void* (*)(const char* name);
using PluginMain = void (*)(Resolver resolver);

// Starts over with a configuration: all objects are forgotten (with their memory), records of registrations,
// logs, counts, faults cleared. What the plugin remembers of its own is left as it is: the version, for
// instance, and the run mode are read once per process, so a different one needs a fresh process (see
// tests/support/fresh_process.h).
void Start(const Config& config);
// The configuration in force; changes take effect at the next service call.
Config& CurrentConfig();

// Loads the plugin library (dlopen, RTLD_NOW) and runs its "REALPluginMain". Throws std::runtime_error.
void LoadPlugin(const std::string& path);
// Runs the entry of a plugin that is linked into the program.
void AttachPlugin(PluginMain entry);
// Runs the plugin's entry with the stand-in's resolver; `entry` may take any resolver type.
template <class Entry>
void AttachPluginEntry(Entry entry) {
  AttachPlugin(reinterpret_cast<PluginMain>(entry));
}

// The resolver itself: the address of a service, or null.
void* Resolve(const char* name);

// Thrown to the caller of a method after the plugin raised an exception during the call.
class RuntimeException : public std::runtime_error {
 public:
  RuntimeException(std::string className, std::string message, int errorNumber)
      : std::runtime_error(className + ": " + message),
        className_(std::move(className)),
        message_(std::move(message)),
        errorNumber_(errorNumber) {}
  const std::string& ClassName() const { return className_; }
  const std::string& Message() const { return message_; }
  int ErrorNumber() const { return errorNumber_; }

 private:
  std::string className_;
  std::string message_;
  int errorNumber_;
};

// The exception object that was raised last and not yet thrown; empty when none. For tests that call the
// plugin's functions without the methods below.
Ref TakeRaised();

// How often the service of that name has been called since Start or ClearLog. Always counted.
int CallCount(const std::string& service);

struct Call {
  const char* service;
  std::array<std::uintptr_t, 5> words;  // the first argument words as passed; 0 beyond
};
// The log of service calls, in order; off by default.
void EnableLog(bool on);
const std::vector<Call>& Calls();
// Names asked of the resolver since Start, in order, found or not. Always kept.
const std::vector<std::string>& Lookups();
// Empties both logs and the counts.
void ClearLog();

}  // namespace standin

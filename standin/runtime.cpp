#include "standin/runtime.h"

#include <dlfcn.h>

#include "standin/faults.h"
#include "standin/internal/service.h"
#include "standin/internal/state.h"
#include "standin/ledger.h"

namespace standin {
namespace {

double ReportVersion() { return CurrentConfig().version.value_or(0.0); }

void YieldToScript() {
  // A copy: the script may exchange the function while it runs.
  const auto script = CurrentConfig().onYield;
  if (script) script();
}

void Raise(void* exception) {
  Object* object = Objects().Live(exception, "RuntimeRaiseException");
  TheState().raised.Set(object);
}

int InRuntime() { return HostBoolean(true); }
int InDebugMode() { return HostBoolean(false); }

}  // namespace

State& TheState() {
  static State& state = *new State;
  return state;
}

Config& CurrentConfig() { return TheState().config; }

bool VersionAtLeast(double threshold) {
  const auto& version = CurrentConfig().version;
  return version && *version >= threshold;
}

void Start(const Config& config) {
  State& state = TheState();
  state.raised.Set(nullptr);
  Objects().Forget();
  state.config = config;
  state.registrations.clear();
  state.reportedVersions.clear();
  ClearFaults();
  ClearLog();
  EnableLog(false);
}

void AttachPlugin(PluginMain entry) {
  if (CurrentConfig().watchMemory) RememberPluginImage(reinterpret_cast<const void*>(entry));
  {
    InsidePlugin inside;
    entry(&Resolve);
  }
  ResetPluginMemory();  // what registering allocated is the runtime's for the life of the process
}

void LoadPlugin(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  void* entry = dlsym(library, "REALPluginMain");
  if (entry == nullptr) throw std::runtime_error(path + " has no REALPluginMain");
  AttachPlugin(reinterpret_cast<PluginMain>(entry));
}

Ref TakeRaised() {
  Ref raised = Ref::Retain(TheState().raised.Get());
  TheState().raised.Set(nullptr);
  return raised;
}

void DefineRuntimeServices() {
  Define<&ReportVersion>("REALGetRBVersion");
  Define<&YieldToScript>("REALYieldToRB");
  Define<&Raise>("RuntimeRaiseException");
  Define<&InRuntime>("REALinRuntime");
  Define<&InDebugMode>("REALInDebugMode");
}

}  // namespace standin

#include "tests/picture/picture_world.h"

#include <map>

#include "host/resolver.h"

extern "C" void REALPluginMain(pixmorph::REALResolver resolver);

namespace test {
namespace {

std::string Word(const standin::Call& call) {
  static const std::map<std::string, std::string> kShort = {
      {"REALLockObject", "ref"},
      {"REALUnlockObject", "unref"},
      {"unlockPictureDescription", "unlock"},
      {"REALPictureClearCache", "clear"},
      {"newPicture", "new"},
      {"PluginNewInstance", "instance"},
      {"REALLoadObjectMethod", "method"},
      {"REALGetPropValueBool", "alpha"},
      {"REALBuildPictureFromBuffer", "build"},
      {"pluginPictureGraphicsGetter", "graphics"},
      {"REALGetPictureMask", "mask"},
      {"Constructor(width as integer, height as integer)", "construct"},
      {"CopyMask as Picture", "copymask"},
      {"Mask(assigns newMask As Picture)", "assign"}};
  const std::string name = call.service;
  const auto text = [&call](std::size_t i) {
    return std::string(reinterpret_cast<const char*>(call.words[i]));
  };
  if (name == "REALLockPictureDescription") return "lock" + std::to_string(call.words[2]);
  if (name == "pluginObjectType") return text(0).substr(0, 1);  // Application, ...
  if (name == "REALGetPropValueInt") return text(1);
  if (name.rfind("DrawPicture(", 0) == 0) return "draw";
  const auto found = kShort.find(name);
  return found == kShort.end() ? name : found->second;
}

}  // namespace

void StartWorld(const Config& config) {
  standin::Start(config);
  standin::AttachPluginEntry(&REALPluginMain);
  standin::ResetPluginMemory();
  standin::ClearLog();
  standin::EnableLog(true);
}

Config ConfigFor(Mode mode, std::optional<double> version) {
  if (mode == Mode::kGdk) NeedDisplay();
  Config config;
  config.mode = mode;
  config.version = version;
  return config;
}

std::string Trace() {
  std::string trace;
  for (const auto& call : standin::Calls()) trace += (trace.empty() ? "" : " ") + Word(call);
  return trace;
}

void NeedDisplay() { static const standin::OwnDisplay display; }

}  // namespace test

#include "standin/ledger.h"

#include <cstdio>
#include <cstdlib>

#include "standin/internal/object.h"
#include "standin/internal/state.h"

namespace standin {

std::string CheckLedger() {
  std::string report;
  const auto add = [&report](const Object& object, int count, const char* what) {
    report +=
        object.type->name + " #" + std::to_string(object.serial) + ": " + std::to_string(count) + what + '\n';
  };
  for (const Object* object : Objects().All()) {
    if (!object->live) continue;
    if (object->PluginReferences() != 0)
      add(*object, object->PluginReferences(), " references kept by the plugin");
    if (object->lockCount != 0) add(*object, object->lockCount, " locks left");
  }
  if (const std::size_t blocks = LivePluginBlocks()) {
    report += std::to_string(blocks) + " blocks of memory not freed by the plugin\n";
  }
  return report;
}

int LiveObjects(const char* className) {
  int count = 0;
  for (const Object* object : Objects().All()) {
    if (object->live && (className == nullptr || object->type->name == className)) ++count;
  }
  return count;
}

void StopRun(const std::string& what) {
  std::fflush(stdout);
  std::fprintf(stderr, "stand-in runtime: %s\n", what.c_str());
  std::fflush(stderr);
  std::abort();
}

}  // namespace standin

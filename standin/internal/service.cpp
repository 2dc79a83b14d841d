#include "standin/internal/service.h"

#include <cstring>
#include <deque>
#include <new>
#include <string_view>
#include <unordered_map>

#include "standin/faults.h"
#include "standin/internal/object.h"
#include "standin/internal/state.h"
#include "standin/runtime.h"

namespace standin {
namespace {

struct Method {
  const char* className;  // null: a global one
  Service* service;
};

struct Tables {
  std::deque<Service> storage;
  std::unordered_map<std::string_view, Service*> services;
  std::unordered_multimap<std::string_view, Method> methods;
};

Tables& TheTables() {
  static Tables& tables = *new Tables;
  static bool filling = false;
  if (!filling) {
    filling = true;
    DefineObjectServices();
    DefinePropertyServices();
    DefineStringServices();
    DefineArrayServices();
    DefinePictureServices();
    DefineDrawingServices();
    DefineRegistrationServices();
    DefineRuntimeServices();
  }
  return tables;
}

bool log_on = false;
std::vector<Call>& TheLog() {
  static auto& log = *new std::vector<Call>;
  return log;
}

}  // namespace

Service* AddService(const char* name, void* address) {
  Tables& tables = TheTables();
  tables.storage.push_back({name, address});
  return tables.services[name] = &tables.storage.back();
}

Service* AddMethod(const char* className, const char* declaration, void* address) {
  Tables& tables = TheTables();
  tables.storage.push_back({declaration, address});
  tables.methods.emplace(declaration, Method{className, &tables.storage.back()});
  return &tables.storage.back();
}

void BeginCall(Service& service, const Words& words) {
  ++service.calls;
  if (log_on) TheLog().push_back({service.name, words});
  ThrowIfOrdered(service.name);
}

void* FindMethod(const void* handle, const char* declaration) {
  const Object* object = Objects().Live(handle, "REALLoadObjectMethod");
  if (CurrentConfig().missingMethods.count(declaration) != 0) return nullptr;
  const auto range = TheTables().methods.equal_range(declaration);
  for (auto entry = range.first; entry != range.second; ++entry) {
    const Method& method = entry->second;
    if (method.className != nullptr && IsA(object->type, FindClass(method.className))) {
      return method.service->address;
    }
  }
  return nullptr;
}

void* FindGlobalMethod(const char* declaration) {
  if (CurrentConfig().missingMethods.count(declaration) != 0) return nullptr;
  const auto range = TheTables().methods.equal_range(declaration);
  for (auto entry = range.first; entry != range.second; ++entry) {
    if (entry->second.className == nullptr) return entry->second.service->address;
  }
  return nullptr;
}

void* Resolve(const char* name) {
  OutsidePlugin outside;
  TheState().lookups.emplace_back(name);
  const Config& config = CurrentConfig();
  const auto own = config.overrides.find(name);
  if (own != config.overrides.end()) return own->second;
  if (config.missingServices.count(name) != 0) return nullptr;
  if (!config.version && std::strcmp(name, "REALGetRBVersion") == 0) return nullptr;
  const Tables& tables = TheTables();
  const auto found = tables.services.find(name);
  return found == tables.services.end() ? nullptr : found->second->address;
}

int CallCount(const std::string& name) {
  int calls = 0;
  for (const Service& service : TheTables().storage) {
    if (name == service.name) calls += service.calls;
  }
  return calls;
}

void EnableLog(bool on) { log_on = on; }
const std::vector<Call>& Calls() { return TheLog(); }
const std::vector<std::string>& Lookups() { return TheState().lookups; }

void ClearLog() {
  TheLog().clear();
  TheState().lookups.clear();
  for (Service& service : TheTables().storage) service.calls = 0;
}

}  // namespace standin

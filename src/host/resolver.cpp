#include "host/resolver.h"

namespace pixmorph {

REALResolver gResolver = nullptr;

void* ResolveEntry(const char* name) { return gResolver ? gResolver(name) : nullptr; }

}  // namespace pixmorph

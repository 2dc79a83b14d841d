#ifndef PIXMORPH_HOST_SERVICE_SLOTS_H_
#define PIXMORPH_HOST_SERVICE_SLOTS_H_

#include "host/resolver.h"
#include "host/services.h"

// The services behind the wrappers that are written by hand, for those wrappers only.
namespace pixmorph::slots {

#define PIXMORPH_SERVICE_RULE(result, function, name, parameters, hostParameters) \
  extern HostService<result hostParameters> function;
#define PIXMORPH_SERVICE_SLOT(result, service, name, hostParameters) \
  extern HostService<result hostParameters> service;
#include "host/services.def"

}  // namespace pixmorph::slots

#endif  // PIXMORPH_HOST_SERVICE_SLOTS_H_

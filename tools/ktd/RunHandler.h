#ifndef KT_TOOLS_KTD_RUNHANDLER_H
#define KT_TOOLS_KTD_RUNHANDLER_H
#include <chrono>
#include <stop_token>
#include <string>
#include "kt/foundation/PropertyList.h"
#include "tools/ktd/Service.h"
namespace kt::tools {
struct HandlerRequest {
  std::string kind;
  std::string sender;
  std::string signature;
  std::chrono::milliseconds timeout;
};
inline Dictionary runHandler(const Handler &, const HandlerRequest &, const Dictionary &packet,
                             const std::stop_token &) {
  return packet;
}
inline void reapStrays() {}
inline void becomeSubreaper() {}
}  // namespace kt::tools
#endif

#ifndef KT_TOOLS_KTD_CONFIGURATIONSOURCE_H
#define KT_TOOLS_KTD_CONFIGURATIONSOURCE_H
#include <optional>
#include <string>
#include "tools/ktd/Configuration.h"
namespace kt::tools {
inline std::optional<std::string> whyNotReloaded(const Configuration &, const Configuration &) {
  return std::nullopt;
}
}  // namespace kt::tools
#endif

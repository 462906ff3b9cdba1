#ifndef KT_TOOLS_KTD_SERVICEMANAGER_H
#define KT_TOOLS_KTD_SERVICEMANAGER_H
#include <chrono>
#include <optional>
namespace kt::tools {
class ServiceManager {
 public:
  void ready() {}
  void reloading() {}
  void stopping() {}
  void keepAlive() {}
  std::optional<std::chrono::microseconds> watchdogInterval() const { return {}; }
};
}  // namespace kt::tools
#endif

// SPDX-License-Identifier: MIT

#include "tools/ktd/Measurements.h"

#include <cmath>

#include "tools/common/Requests.h"
#include "tools/common/Statistics.h"

namespace kt::tools {

void Measurements::add(std::string_view kind, std::chrono::steady_clock::duration duration) {
  const float us = std::chrono::duration<float, std::micro>(duration).count();
  const std::scoped_lock lock(mutex_);
  auto place = kinds_.find(kind);
  if (place == kinds_.end()) place = kinds_.emplace(kind, OfKind()).first;
  OfKind &ofKind = place->second;
  if (ofKind.durationsUs.size() < mostDurations) {
    ofKind.durationsUs.push_back(us);
  } else {
    ofKind.durationsUs[ofKind.requests % mostDurations] = us;
  }
  ++ofKind.requests;
}

Dictionary Measurements::figures() const {
  const std::scoped_lock lock(mutex_);
  Dictionary figures;
  for (const auto &[kind, ofKind] : kinds_) {
    const Statistics us = statisticsOf({ofKind.durationsUs.begin(), ofKind.durationsUs.end()});
    figures[kind] = Dictionary{{requestsKey, ofKind.requests},
                               {medianKey, std::llround(us.median)},
                               {p99Key, std::llround(us.p99)}};
  }
  return figures;
}

}  // namespace kt::tools

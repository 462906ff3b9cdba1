// SPDX-License-Identifier: MIT

// Another project's program: calls each library once and prints the reply of its server.
#include <kt/kt.h>

#include <iostream>
#include <optional>

namespace {

struct Answers {
  kt::Dictionary replyForRequest(const kt::Dictionary &packet) { return packet; }
};

}  // namespace

int main() {
  KtAutoSetDebug();
  KtDebug("This appears if the user default is set: %d", 1);

  const kt::Integer large = kt::Integer("18446744073709551615") + 1;
  if (large.toString() != "18446744073709551616") return 1;
  _KtInt *record = _KtIntAlloc(-7);
  const bool isNegative = _KtIntSign(record) < 0;
  _KtIntFree(record);
  if (!isNegative) return 1;

  Answers answers;
  KtUDPDaemon daemon;
  daemon.setDelegate(&answers);
  const kt::Dictionary packet{{kt::keywordKey.data(), "Echo"}, {"name", "value"}};
  const auto request = kt::requestEnvelope(daemon.signature(), 7, packet);
  const std::optional<kt::Dictionary> reply = daemon.replyFor(request);
  if (!reply || !kt::isReplyTo(request, *reply, daemon.signature())) return 1;
  if (!_KtWalker().isDirectoryAtAbsolutePath("/")) return 1;
  std::cout << kt::format("%@", *reply) << '\n';
  return 0;
}

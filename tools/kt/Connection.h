// SPDX-License-Identifier: MIT

// Connects the subcommands to a server, and says what to check when there is none or it is silent.
// For the thread that uses the client.
#ifndef KT_TOOLS_KT_CONNECTION_H
#define KT_TOOLS_KT_CONNECTION_H

#include <chrono>
#include <optional>

#include "kt/udp/KtUDPClient.h"
#include "tools/common/Failure.h"
#include "tools/kt/Command.h"
#include "tools/kt/Milliseconds.h"

namespace kt::tools {

// Gives `client` the signature, ports, timeout and retries of the options.
void applyOptions(KtUDPClient &client, const Options &options);

// Applies the options to `client` and finds it a server. Throws Failure if none answers, if the
// options name no place to look, or if the server announces a port below 0, to which the client
// sends nothing.
void connect(KtUDPClient &client, const Options &options);

// Throws Failure if `answer` has an `Error`, with its text.
void requireNoError(const Dictionary &answer);

// One server and the requests to it. If it answers a request by asking for a token (Token.h), the
// request is repeated with it, and later requests have it too.
class Connection {
 public:
  // Finds a server as connect() does, and throws as it does.
  explicit Connection(const Options &options) { connect(client_, options); }

  // Returns the answer to the request `packet`, which is sent as often as the options say. Throws
  // Failure if there is none.
  [[nodiscard]] Dictionary answerTo(const Dictionary &packet);

  // Returns the answer to the request `packet`, which may take long to come. Sends the same
  // datagram again and again until it is answered or `time` has passed: after the timeout first,
  // then after twice as long as before, and after 2 s at most. A server does not run a resend.
  // Throws Failure if there is no answer.
  [[nodiscard]] Dictionary answerWithin(std::chrono::duration<double> time,
                                        const Dictionary &packet);

  [[nodiscard]] KtUDPClient &client() { return client_; }

 private:
  template <typename Ask>
  Dictionary answerWithToken(const Dictionary &packet, const Ask &ask);
  std::optional<Dictionary> answerBefore(Clock::time_point deadline, const Dictionary &packet);
  std::optional<Dictionary> replyBefore(Clock::time_point deadline, const Dictionary &envelope);

  KtUDPClient client_;
  std::optional<Data> token_;  // the last one that the server asked for
};

}  // namespace kt::tools

#endif

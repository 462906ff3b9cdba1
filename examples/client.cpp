// SPDX-License-Identifier: MIT

// Finds the greeting server and asks it for a greeting.
#include <iostream>

#include "kt/udp/KtUDPClient.h"

int main() {
  KtUDPClient client;
  client.setSignature("Greetings");
  if (!client.connectToServer()) return 1;  // no server answered the broadcast
  const kt::Dictionary request{{"KtUDPKeyword", "Greet"}, {"Name", "Ann"}};
  const std::optional<kt::Dictionary> answer = client.replyForRequest(request);
  if (!answer) return 1;  // none of four sends was answered
  std::cout << answer->description() << '\n';
}

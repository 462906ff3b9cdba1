// SPDX-License-Identifier: MIT

// Finds the server that greets and asks it for a greeting.
#include <iostream>

#include "kt/udp/KtUDPClient.h"

int main() {
  KtUDPClient client;
  client.setSignature("Greetings");
  if (!client.connectToServer()) return 1;  // no server answered the broadcast
  const kt::Dictionary request{{"KtUDPKeyword", "Greet"}, {"Name", "Ann"}};
  const std::optional<kt::Dictionary> answer = client.replyForRequest(request);
  if (!answer) return 1;  // nor did it answer any of four sends
  std::cout << answer->description() << '\n';
}

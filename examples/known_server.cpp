// SPDX-License-Identifier: MIT

// Asks a server whose host is known, without a broadcast: known_server HOST SIGNATURE KIND
#include <iostream>

#include "kt/udp/KtUDPClient.h"

int main(int count, char **arguments) {
  if (count != 4) return 2;
  KtUDPClient client;
  client.setSignature(arguments[2]);
  if (!client.connectToServer(arguments[1])) {
    std::cerr << "no server at " << arguments[1] << '\n';
    return 1;
  }
  const auto answer = client.replyForRequest(kt::Dictionary{{"KtUDPKeyword", arguments[3]}});
  if (!answer) return 1;  // none of four sends was answered
  std::cout << answer->description() << '\n';
}

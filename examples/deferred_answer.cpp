// SPDX-License-Identifier: MIT

// Answers from a worker thread: a request that takes long holds up no other.
#include <chrono>
#include <iostream>
#include <thread>

#include "kt/udp/KtUDPDaemon.h"

struct Kitchen {
  void replyForRequest(kt::Dictionary order, kt::Reply reply) {
    workers.emplace_back([order = std::move(order), reply = std::move(reply)]() mutable {
      const auto minutes = order.integer("Minutes").value_or(0);
      std::this_thread::sleep_for(std::chrono::milliseconds(minutes));  // this kitchen is fast
      (void)reply.send({{"Dish", order.string("Dish").value_or("soup")}});
    });
  }
  std::vector<std::jthread> workers;  // a real server bounds them
};

int main() {
  Kitchen kitchen;
  KtUDPDaemon daemon;
  daemon.setDelegate(&kitchen).setSignature("Kitchen");
  if (!daemon.registerPort()) return 1;  // every port of the list is taken
  std::cout << "serving on port " << daemon.port() << std::endl;
  for (;;) {
    try {
      daemon.processQueries();
    } catch (const std::exception &error) {  // a request whose packet is not a dictionary
      std::cerr << error.what() << '\n';
    }
  }
}

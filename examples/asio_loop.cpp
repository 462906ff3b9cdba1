// SPDX-License-Identifier: MIT

// A server, and a client that asks it, in one thread with Boost.Asio.
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <iostream>

#include "kt/udp/AsyncClient.h"
#include "kt/udp/KtUDPClient.h"
#include "kt/udp/KtUDPDaemon.h"

int main() {
  struct Clerk {
    kt::Dictionary replyForRequest(const kt::Dictionary &packet) { return packet; }
  } clerk;
  KtUDPDaemon daemon;
  daemon.setDelegate(&clerk).setPorts({0});
  if (!daemon.registerPort()) return 1;
  const auto server = kt::ipv4(htonl(INADDR_LOOPBACK), static_cast<std::uint16_t>(daemon.port()));
  kt::AsyncClient client(KtUDPClient(), server);
  client.request({{"KtUDPKeyword", "Hum"}}, [](const auto &answer) {
    std::cout << (answer ? answer->description() : "no answer") << '\n';
  });
  boost::asio::io_context loop;
  using Socket = boost::asio::posix::stream_descriptor;  // closes the descriptor that it is given
  Socket requests(loop, ::dup(daemon.socketIn()));
  Socket answers(loop, ::dup(client.descriptor()));
  const std::function<void(boost::system::error_code)> serve = [&](auto) {
    daemon.processPending();
    requests.async_wait(Socket::wait_read, serve);
  };
  decltype(serve) listen = [&](auto) { answers.async_wait(Socket::wait_read, listen); };
  serve({});
  listen({});
  while (const auto deadline = client.deadline()) {  // none: every request has completed
    loop.run_one_until(*deadline);
    client.process();
  }
}

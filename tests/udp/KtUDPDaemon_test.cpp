// SPDX-License-Identifier: MIT

// A server's set-up, its port and its answers, without datagrams. The serving loop is tested in
// KtUDPDaemon_serving_test.cpp.
#include "kt/udp/KtUDPDaemon.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "kt/foundation/HostName.h"
#include "kt/udp/KtMessage.h"
#include "tests/support/Addresses.h"
#include "tests/support/EchoDelegate.h"
#include "tests/udp/support/Kinds.h"
#include "tests/udp/support/LogCapture.h"
#include "tests/udp/support/Messages.h"
#include "tests/udp/support/PrivateNetwork.h"
#include "tests/udp/support/RawSocket.h"
#include "tests/udp/support/ServedDaemon.h"

namespace kt::test {
namespace {

// ---- Set-up ----

TEST(KtUDPDaemon, StartsWithDefaults) {
  const KtUDPDaemon daemon;
  EXPECT_EQ(daemon.ports(), (std::vector<std::int32_t>{4798, 4711, 5600, 4822, 3493, 4926}));
  EXPECT_EQ(daemon.signature(), "KtUDP");
  EXPECT_EQ(daemon.socketIn(), -1);
  EXPECT_EQ(daemon.port(), 0);
  EXPECT_FALSE(daemon.unique());
  EXPECT_EQ(daemon.received(), 0U);
  EXPECT_EQ(daemon.answered(), 0U);
}

TEST(KtUDPDaemon, IsNeitherCopiedNorMoved) {
  EXPECT_FALSE(std::is_copy_constructible_v<KtUDPDaemon>);
  EXPECT_FALSE(std::is_move_constructible_v<KtUDPDaemon>);
  EXPECT_FALSE(std::is_copy_assignable_v<KtUDPDaemon>);
}

TEST(KtUDPDaemon, SettersStoreTheirArguments) {
  KtUDPDaemon daemon;
  daemon.setPorts({-1, 70000});
  daemon.setSignature("Mine");
  daemon.setMustBeUnique(true);
  EXPECT_EQ(daemon.ports(), (std::vector<std::int32_t>{-1, 70000}));
  EXPECT_EQ(daemon.signature(), "Mine");
  EXPECT_TRUE(daemon.unique());
}

TEST(KtUDPDaemon, SetDelegateReturnsServer) {
  KtUDPDaemon daemon;
  EchoDelegate delegate;
  EXPECT_EQ(&daemon.setDelegate(&delegate), &daemon);
  EXPECT_EQ(&daemon.setDelegate(nullptr), &daemon);
}

// ---- Uniqueness ----

// Replaces the client class: the test sets what it finds and reads what it was told.
struct FakeClient {
  FakeClient() { ++made; }
  ~FakeClient() { ++ended; }
  void setSignature(std::string value) { signature = std::move(value); }
  void setPorts(std::vector<std::int32_t> value) { ports = std::move(value); }
  void setNumberOfRetries(std::int32_t value) { retries = value; }
  void setBaseReplyTimeout(std::int32_t value) { timeout = value; }
  bool connectToServer() {
    ++asked;
    return answer;
  }

  static void reset(bool found) {
    made = ended = asked = retries = timeout = 0;
    signature.clear();
    ports.clear();
    answer = found;
  }

  inline static int made, ended, asked;
  inline static std::int32_t retries, timeout;
  inline static std::string signature;
  inline static std::vector<std::int32_t> ports;
  inline static bool answer;
};

TEST(KtUDPDaemon, ProbesWithSignaturePortsOneRetryAnd50Milliseconds) {
  FakeClient::reset(false);
  KtUDPDaemon daemon;
  daemon.setCounterpartClass<FakeClient>();
  daemon.setSignature("Mine");
  daemon.setPorts({1, 2, 3});
  daemon.setMustBeUnique(true);
  EXPECT_TRUE(daemon.ensureUniqueness());
  EXPECT_EQ(FakeClient::signature, "Mine");
  EXPECT_EQ(FakeClient::ports, (std::vector<std::int32_t>{1, 2, 3}));
  EXPECT_EQ(FakeClient::retries, 1);
  EXPECT_EQ(FakeClient::timeout, 50);
  EXPECT_EQ(FakeClient::made, 1);
  EXPECT_EQ(FakeClient::asked, 1);
  EXPECT_EQ(FakeClient::ended, 1);
}

TEST(KtUDPDaemon, DoesNotProbeUnlessUnique) {
  FakeClient::reset(true);
  KtUDPDaemon daemon;
  daemon.setCounterpartClass<FakeClient>();
  daemon.setPorts({0});
  LogCapture log;
  EXPECT_TRUE(daemon.ensureUniqueness());
  EXPECT_EQ(log.lines(), Lines{});
  EXPECT_TRUE(daemon.registerPort());
  EXPECT_EQ(FakeClient::made, 0);
}

TEST(KtUDPDaemon, RegisteringSendsNothingUnlessUnique) {
  const RawSocket first(4798);
  const RawSocket second(4711);
  KtUDPDaemon daemon;
  EXPECT_TRUE(daemon.registerPort());
  EXPECT_FALSE(first.receiveAtOnce());
  EXPECT_FALSE(second.receiveAtOnce());
}

TEST(KtUDPDaemon, LogsUniquenessAs1Or0) {
  for (const bool found : {false, true}) {
    FakeClient::reset(found);
    KtUDPDaemon daemon;
    daemon.setCounterpartClass<FakeClient>();
    daemon.setMustBeUnique(true);
    LogCapture log;
    EXPECT_EQ(daemon.ensureUniqueness(), !found);
    EXPECT_EQ(log.lines(), (Lines{found ? "Daemon is unique: 0" : "Daemon is unique: 1"}));
  }
}

TEST(KtUDPDaemon, MakesNoSocketWhileAnotherServerAnswers) {
  FakeClient::reset(true);
  KtUDPDaemon daemon;
  daemon.setCounterpartClass<FakeClient>();
  daemon.setMustBeUnique(true);
  LogCapture log;
  EXPECT_FALSE(daemon.registerPort());
  EXPECT_EQ(daemon.socketIn(), -1);
  EXPECT_EQ(daemon.port(), 0);
  EXPECT_EQ(log.lines(), (Lines{"Daemon is unique: 0"}));
}

TEST(KtUDPDaemon, YieldsOnlyToSameSignatureOnListedPort) {
  KtUDPDaemon first;
  ASSERT_TRUE(first.registerPort());
  const ServedDaemon served(first);
  KtUDPDaemon second;
  second.setMustBeUnique(true);
  EXPECT_FALSE(second.registerPort());
  second.setPorts({4711, 5600});
  EXPECT_TRUE(second.registerPort());
  KtUDPDaemon third;
  third.setMustBeUnique(true);
  third.setSignature("Another");
  EXPECT_TRUE(third.registerPort());
  EXPECT_EQ(third.port(), 5600);
}

// ---- The port ----

TEST(KtUDPDaemon, BindsFirstFreePort) {
  const RawSocket first(4798);
  const RawSocket second(4711);
  KtUDPDaemon daemon;
  LogCapture log;
  EXPECT_TRUE(daemon.registerPort());
  EXPECT_EQ(daemon.port(), 5600);
  EXPECT_GE(daemon.socketIn(), 0);
  EXPECT_EQ(log.lines(), (Lines{"Bound to port 5600"}));
  // Later ports stay free.
  const RawSocket next(4822);
}

TEST(KtUDPDaemon, BindsEveryInterfaceWithoutSocketOptionsAndClosesOnExec) {
  KtUDPDaemon daemon;
  ASSERT_TRUE(daemon.registerPort());
  sockaddr_in local{};
  socklen_t size = sizeof local;
  ASSERT_EQ(::getsockname(daemon.socketIn(), reinterpret_cast<sockaddr *>(&local), &size), 0);
  EXPECT_EQ(text(local), "0.0.0.0:4798");
  for (const int option : {SO_REUSEADDR, SO_REUSEPORT, SO_BROADCAST}) {
    int value = -1;
    size = sizeof value;
    ASSERT_EQ(::getsockopt(daemon.socketIn(), SOL_SOCKET, option, &value, &size), 0);
    EXPECT_EQ(value, 0) << option;
  }
  EXPECT_EQ(::fcntl(daemon.socketIn(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(KtUDPDaemon, BindsLow16BitsOfPort) {
  KtUDPDaemon daemon;
  daemon.setPorts({70000});
  EXPECT_TRUE(daemon.registerPort());
  EXPECT_EQ(daemon.port(), 4464);
  KtUDPDaemon other;
  other.setPorts({-1});
  EXPECT_TRUE(other.registerPort());
  EXPECT_EQ(other.port(), 65535);
}

TEST(KtUDPDaemon, ReportsPortThatSystemChose) {
  KtUDPDaemon daemon;
  daemon.setPorts({0});
  LogCapture log;
  EXPECT_TRUE(daemon.registerPort());
  EXPECT_GT(daemon.port(), 0);
  EXPECT_EQ(log.lines(), (Lines{"Bound to port " + std::to_string(daemon.port())}));
}

TEST(KtUDPDaemon, DoesNotRegisterEmptyPortList) {
  KtUDPDaemon daemon;
  daemon.setPorts({});
  EXPECT_FALSE(daemon.registerPort());
  EXPECT_EQ(daemon.socketIn(), -1);
  EXPECT_EQ(daemon.port(), 0);
}

std::ptrdiff_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
}

TEST(KtUDPDaemon, StoresNothingIfEveryPortIsTaken) {
  const RawSocket first(4798);
  const RawSocket second(4711);
  KtUDPDaemon daemon;
  daemon.setPorts({4798, 4711});
  const std::ptrdiff_t before = openDescriptors();
  LogCapture *const log = new LogCapture;
  EXPECT_FALSE(daemon.registerPort());
  EXPECT_EQ(log->lines(), Lines{});
  delete log;
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(daemon.socketIn(), -1);
  EXPECT_EQ(daemon.port(), 0);
}

TEST(KtUDPDaemon, FreesPortWhenDestroyed) {
  {
    KtUDPDaemon daemon;
    ASSERT_TRUE(daemon.registerPort());
    ASSERT_EQ(daemon.port(), 4798);
  }
  const RawSocket free(4798);
}

TEST(KtUDPDaemon, DoesNotServeUnlessRegistered) {
  KtUDPDaemon daemon;
  LogCapture log;
  daemon.processQueries();
  EXPECT_EQ(log.lines(), Lines{});
}

// ---- Answers ----

// The results of a request.
enum class Outcome { silence, bare, identification, delegated, badPacket };

std::ostream &operator<<(std::ostream &stream, Outcome outcome) {
  constexpr std::array names{"silence", "bare", "identification", "delegated", "badPacket"};
  return stream << names[static_cast<std::size_t>(outcome)];
}

Outcome outcomeOf(const std::optional<Dictionary> &request) {
  KtUDPDaemon daemon;
  EchoDelegate delegate;
  daemon.setDelegate(&delegate);
  try {
    const auto reply = daemon.replyFor(request);
    if (!reply) return Outcome::silence;
    if (reply->empty()) return Outcome::bare;
    EXPECT_EQ(reply->size(), 3U);
    const bool echoed = *reply->find("_DataPacket") == *request->find("_DataPacket");
    return echoed ? Outcome::delegated : Outcome::identification;
  } catch (const std::invalid_argument &) {
    return Outcome::badPacket;
  }
}

const Dictionary statusRequest = requestEnvelope("KtUDP", 33, statusPacket);

// Expects these outcomes for values of each kind for `key` of the envelope, both as built and as
// parsed from text.
void expectForEnvelope(std::string_view key, const std::map<Kind, Outcome> &expected) {
  for (const auto &[kind, outcome] : expected) {
    const Dictionary request = with(statusRequest, key, kind);
    EXPECT_EQ(outcomeOf(request), outcome) << name(kind);
    EXPECT_EQ(outcomeOf(parseMessage(request.description())), outcome) << name(kind);
  }
}

TEST(KtUDPDaemon, StaysSilentWithoutRequest) {
  EXPECT_EQ(outcomeOf(std::nullopt), Outcome::silence);
  EXPECT_EQ(outcomeOf(Dictionary()), Outcome::silence);
}

TEST(KtUDPDaemon, AcceptsHandshakeOfAnyKind) {
  expectForEnvelope("_Handshake", {{Kind::missing, Outcome::silence},
                                   {Kind::string, Outcome::delegated},
                                   {Kind::number, Outcome::delegated},
                                   {Kind::data, Outcome::delegated},
                                   {Kind::array, Outcome::delegated},
                                   {Kind::dictionary, Outcome::delegated}});
}

TEST(KtUDPDaemon, StaysSilentForAnotherSignature) {
  expectForEnvelope("_Signature", {{Kind::missing, Outcome::silence},
                                   {Kind::string, Outcome::silence},
                                   {Kind::number, Outcome::silence},
                                   {Kind::data, Outcome::silence},
                                   {Kind::array, Outcome::silence},
                                   {Kind::dictionary, Outcome::silence}});
}

TEST(KtUDPDaemon, ThrowsForDataPacketThatIsNotDictionary) {
  expectForEnvelope("_DataPacket", {{Kind::missing, Outcome::bare},
                                    {Kind::string, Outcome::badPacket},
                                    {Kind::number, Outcome::badPacket},
                                    {Kind::data, Outcome::badPacket},
                                    {Kind::array, Outcome::badPacket},
                                    {Kind::dictionary, Outcome::bare}});
}

TEST(KtUDPDaemon, PassesKeywordOfAnyKindToDelegate) {
  for (const Kind kind : allKinds) {
    const Dictionary packet = with(statusPacket, "KtUDPKeyword", kind);
    EXPECT_EQ(outcomeOf(requestEnvelope("KtUDP", 33, packet)),
              kind == Kind::missing ? Outcome::bare : Outcome::delegated)
        << name(kind);
  }
  EXPECT_EQ(outcomeOf(requestEnvelope("KtUDP", 33, Dictionary{{"KtUDPKeyword", ""}})),
            Outcome::delegated);
}

TEST(KtUDPDaemon, AnswersPacketWithoutKeywordWithEmptyDictionary) {
  EXPECT_EQ(outcomeOf(requestEnvelope("KtUDP", 33, Dictionary{{"Other", "key"}})), Outcome::bare);
  EXPECT_EQ(outcomeOf(requestEnvelope("KtUDP", 33, Dictionary())), Outcome::bare);
}

// Tests the handshake, then the signature, then the packet: a request that fails an early test gets
// no answer from a later one.
TEST(KtUDPDaemon, StaysSilentIfRequestHasSeveralFaults) {
  Dictionary request = statusRequest;
  request["_DataPacket"] = "not a dictionary";
  request["_Signature"] = "Another";
  EXPECT_EQ(outcomeOf(request), Outcome::silence);
  request["_Signature"] = "KtUDP";
  request.erase("_Handshake");
  EXPECT_EQ(outcomeOf(request), Outcome::silence);
}

TEST(KtUDPDaemon, ReplyHasPacketSignatureAndHandshakeAnswer) {
  KtUDPDaemon daemon;
  EchoDelegate delegate;
  daemon.setDelegate(&delegate).setSignature("Mine");
  for (const auto &[value, answer] : std::map<std::string, std::int32_t>{
           {"33", 34}, {"0", 1}, {"-1", 0}, {"2147483647", -2147483647 - 1}, {"words", 1}}) {
    Dictionary request = requestEnvelope("Mine", 0, statusPacket);
    request["_Handshake"] = value;
    EXPECT_EQ(daemon.replyFor(request),
              (Dictionary{
                  {"_DataPacket", statusPacket}, {"_Signature", "Mine"}, {"_Handshake", answer}}));
  }
}

TEST(KtUDPDaemon, AnswersDiscoveryWithNameKeywordAndBoundPort) {
  KtUDPDaemon daemon;
  daemon.setPorts({4822});
  ASSERT_TRUE(daemon.registerPort());
  const auto reply = daemon.replyFor(requestEnvelope("KtUDP", 33, discoveryPacket()));
  ASSERT_TRUE(reply);
  EXPECT_EQ(
      *reply->find("_DataPacket")->asDictionary(),
      (Dictionary{
          {"_ServerName", hostName()}, {"KtUDPKeyword", "_ServerName"}, {"_ServerPort", 4822}}));
}

TEST(KtUDPDaemon, AnswersDiscoveryWithoutDelegate) {
  struct Refusing {
    Dictionary replyForRequest(const Dictionary &) { throw std::runtime_error("was asked"); }
  } delegate;
  KtUDPDaemon daemon;
  daemon.setDelegate(&delegate);
  Dictionary packet = discoveryPacket();
  packet["Other"] = "key";
  EXPECT_TRUE(daemon.replyFor(requestEnvelope("KtUDP", 33, packet)));
  EXPECT_THROW((void)daemon.replyFor(statusRequest), std::runtime_error);
}

// ---- Delegates ----

const Dictionary yes{{"Answer", "yes"}};

template <class Delegate>
std::optional<Dictionary> answerOf(Delegate *delegate) {
  KtUDPDaemon daemon;
  daemon.setDelegate(delegate);
  const auto reply = daemon.replyFor(statusRequest);
  if (!reply) return std::nullopt;
  return *reply->find("_DataPacket")->asDictionary();
}

TEST(KtUDPDaemon, PassesDataPacketUnchangedToDelegate) {
  struct Delegate {
    Dictionary replyForRequest(const Dictionary &packet) {
      seen = packet;
      return yes;
    }
    Dictionary seen;
  } delegate;
  EXPECT_EQ(answerOf(&delegate), yes);
  EXPECT_EQ(delegate.seen, statusPacket);
}

TEST(KtUDPDaemon, AcceptsOptionalFromDelegate) {
  struct Delegate {
    std::optional<Dictionary> replyForRequest(const Dictionary &) { return answer; }
    std::optional<Dictionary> answer = yes;
  } delegate;
  EXPECT_EQ(answerOf(&delegate), yes);
  delegate.answer.reset();
  EXPECT_THROW((void)answerOf(&delegate), std::logic_error);
}

TEST(KtUDPDaemon, DelegateMethodMayBeConstVirtualStaticOrInherited) {
  struct Const {
    Dictionary replyForRequest(const Dictionary &) const { return yes; }
  } constant;
  struct Virtual {
    virtual ~Virtual() = default;
    virtual Dictionary replyForRequest(const Dictionary &) { return {}; }
  };
  struct Derived : Virtual {
    Dictionary replyForRequest(const Dictionary &) override { return yes; }
  } derived;
  struct Static {
    static const Dictionary &replyForRequest(Dictionary) { return yes; }
  } fixed;
  struct Heir : Const {
  } heir;
  Virtual *const base = &derived;
  const Const *const unchangeable = &constant;
  EXPECT_EQ(answerOf(&constant), yes);
  EXPECT_EQ(answerOf(unchangeable), yes);
  EXPECT_EQ(answerOf(base), yes);
  EXPECT_EQ(answerOf(&fixed), yes);
  EXPECT_EQ(answerOf(&heir), yes);
}

TEST(KtUDPDaemon, SendsEmptyAnswerOfDelegate) {
  struct Delegate {
    Dictionary replyForRequest(const Dictionary &) { return {}; }
  } delegate;
  EXPECT_EQ(answerOf(&delegate), Dictionary());
}

TEST(KtUDPDaemon, ThrowsLogicErrorWithoutDelegate) {
  EXPECT_THROW((void)answerOf(static_cast<EchoDelegate *>(nullptr)), std::logic_error);
  KtUDPDaemon daemon;
  EXPECT_THROW((void)daemon.replyFor(statusRequest), std::logic_error);
  EchoDelegate echo;
  daemon.setDelegate(&echo).setDelegate(nullptr);
  EXPECT_THROW((void)daemon.replyFor(statusRequest), std::logic_error);
}

TEST(KtUDPDaemon, ReplyForPropagatesDelegateException) {
  struct Delegate {
    Dictionary replyForRequest(const Dictionary &) { throw std::out_of_range("mine"); }
  } delegate;
  EXPECT_THROW((void)answerOf(&delegate), std::out_of_range);
}

}  // namespace
}  // namespace kt::test

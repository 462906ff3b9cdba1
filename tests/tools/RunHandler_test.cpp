// SPDX-License-Identifier: MIT

#include "tools/ktd/RunHandler.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <thread>
#include <vector>

#include "kt/foundation/File.h"
#include "tests/support/ScratchFolder.h"

namespace kt::test {
namespace {

using namespace tools;
using namespace std::chrono_literals;
using file::Descriptor;
using std::chrono::steady_clock;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr auto unlimited = 1'000s;  // longer than any test may take
constexpr auto soon = 60s;          // what happens at once takes less, even on a busy machine

Handler shell(const std::string &script, const std::vector<std::string> &arguments = {}) {
  Handler handler{"/bin/sh", {"-c", script, "handler"}};
  handler.arguments.insert(handler.arguments.end(), arguments.begin(), arguments.end());
  return handler;
}

HandlerRequest request(std::chrono::milliseconds timeout = unlimited) {
  return {"Greet", "10.0.0.7:4798", "Office", timeout};
}

Dictionary run(const Handler &handler, const Dictionary &packet = {}) {
  return runHandler(handler, request(), packet, {});
}

Dictionary runScript(const std::string &script) {
  return run(shell(script));
}

// Returns the text that the script prints.
std::string printed(const std::string &script) {
  const Dictionary answer = runScript(script);
  return std::string(answer.string("Output").value_or(answer.description()));
}

Dictionary failure(const std::string &error, int status, const PropertyList &output = "") {
  return {{"Error", error}, {"Status", status}, {"Output", output}};
}

pid_t numberIn(const Dictionary &answer) {
  const PropertyList *output = answer.find("Output");
  return output != nullptr ? output->intValue() : 0;
}

bool exists(pid_t process) {
  return ::kill(process, 0) == 0;
}

// Returns once the process has ended.
void awaitEnd(const Descriptor &process) {
  pollfd ended{process.get(), POLLIN, 0};
  ASSERT_EQ(::poll(&ended, 1, 60'000), 1);
}

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator folder("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

// Handlers leave no process, not even an ended one.
bool hasChildren() {
  return ::waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) == 0;
}

class RunHandler : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { becomeSubreaper(); }

  void SetUp() override { descriptors_ = openDescriptors(); }

  void TearDown() override {
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(openDescriptors(), descriptors_);
  }

 private:
  std::size_t descriptors_ = 0;  // before the test
};

// A pipe with a name, through which a script and its test wait for each other.
class Gate {
 public:
  Gate() { EXPECT_EQ(::mkfifo(path().c_str(), 0600), 0); }

  [[nodiscard]] std::string path() const { return folder_.at("gate"); }

  // Returns once the script has opened its end for writing.
  void awaitWriter() const {
    const Descriptor opened(::open(path().c_str(), O_RDONLY | O_CLOEXEC));
  }

  // Lets a script go on that reads a line: waits until it does.
  void open() const {
    const Descriptor opened(::open(path().c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(::write(opened.get(), "\n", 1), 1);
  }

 private:
  ScratchFolder folder_;
};

// ---- What a program is given ----

TEST_F(RunHandler, AnswersWithObjectOfProgram) {
  EXPECT_EQ(runScript(R"(echo '{"a": {"$data": "0f"}, "b": 7}')"),
            (Dictionary{{"a", Data{std::byte{0x0f}}}, {"b", 7}}));
}

TEST_F(RunHandler, AnswersWithOtherTextAsOutput) {
  EXPECT_EQ(runScript("echo hello; echo; echo world"), (Dictionary{{"Output", "hello\n\nworld"}}));
  EXPECT_EQ(runScript("echo '[1, 2]'"), (Dictionary{{"Output", "[1, 2]"}}));
  EXPECT_EQ(runScript("printf '\\377\\n'"),
            (Dictionary{{"Output", Data{std::byte{0xff}, std::byte{'\n'}}}}));
}

TEST_F(RunHandler, AnswersWithEmptyOutputIfProgramPrintsNothing) {
  EXPECT_EQ(run({"/bin/true", {}}), (Dictionary{{"Output", ""}}));
}

TEST_F(RunHandler, AnswersDeepObjectWithError) {
  const std::string deep = std::string(600, '[') + std::string(600, ']');
  EXPECT_TRUE(runScript("echo '{\"a\":" + deep + "}'").contains("Error"));
}

TEST_F(RunHandler, PassesPacketThenEndOfFile) {
  const Dictionary packet{{"KtUDPKeyword", "Greet"},
                          {"a", Array{"x", Data{std::byte{0xff}}, Dictionary()}}};
  EXPECT_EQ(run({"/bin/cat", {}}, packet), packet);
  EXPECT_EQ(run(shell("exec 3</dev/stdin; cat <&3")), Dictionary());
}

TEST_F(RunHandler, PassesLargePacket) {
  const Dictionary packet{{"a", Data(32'000, std::byte{0xff})}, {"b", std::string(100'000, 'x')}};
  EXPECT_EQ(run({"/bin/cat", {}}, packet), packet);
}

TEST_F(RunHandler, NeedNotReadPacket) {
  const Dictionary packet{{"a", std::string(1'000'000, 'x')}};
  EXPECT_EQ(run(shell("echo done"), packet), (Dictionary{{"Output", "done"}}));
  EXPECT_EQ(run(shell("head -c 1 >/dev/null; exec <&-; echo done"), packet),
            (Dictionary{{"Output", "done"}}));
}

TEST_F(RunHandler, PassesArgumentsUnchanged) {
  EXPECT_EQ(run({"/usr/bin/printf", {"<%s>", "a b", "$HOME", "*", "'", ""}}),
            (Dictionary{{"Output", "<a b><$HOME><*><'><>"}}));
}

TEST_F(RunHandler, SetsFiveVariablesOnly) {
  ::setenv("PATH", "/bin:/usr/bin", 1);
  ::setenv("LANG", "de_DE.UTF-8", 1);
  ::setenv("SECRET", "1", 1);
  EXPECT_EQ(run({"/usr/bin/env", {}}),
            (Dictionary{{"Output",
                         "PATH=/bin:/usr/bin\nLANG=de_DE.UTF-8\nKT_KIND=Greet\n"
                         "KT_SENDER=10.0.0.7:4798\nKT_SIGNATURE=Office"}}));
}

TEST_F(RunHandler, SetsUsualPathAndLanguageIfServerHasNone) {
  ::unsetenv("PATH");
  ::setenv("LANG", "", 1);
  EXPECT_EQ(run({"/usr/bin/env", {}}),
            (Dictionary{{"Output",
                         "PATH=/usr/local/bin:/usr/bin:/bin\nLANG=C.UTF-8\nKT_KIND=Greet\n"
                         "KT_SENDER=10.0.0.7:4798\nKT_SIGNATURE=Office"}}));
}

TEST_F(RunHandler, StartsInRootFolder) {
  EXPECT_EQ(printed("pwd"), "/");
}

TEST_F(RunHandler, OpensStandardStreamsOnly) {
  const Descriptor inheritable(::open("/dev/null", O_RDONLY));
  ASSERT_GE(inheritable.get(), 3);
  // The last one is the folder itself, which ls reads.
  EXPECT_EQ(run({"/bin/ls", {"/proc/self/fd"}}), (Dictionary{{"Output", "0\n1\n2\n3"}}));
}

TEST_F(RunHandler, HasDefaultSignals) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::pthread_sigmask(SIG_BLOCK, &all, &before);
  const auto handlerOfPipe = std::signal(SIGPIPE, SIG_IGN);
  const auto handlerOfHangup = std::signal(SIGHUP, SIG_IGN);
  const std::string signals =
      printed("while read -r line; do echo \"$line\"; done </proc/$$/status");
  std::signal(SIGPIPE, handlerOfPipe);
  std::signal(SIGHUP, handlerOfHangup);
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_THAT(signals, HasSubstr("SigBlk:\t0000000000000000\n"));
  EXPECT_THAT(signals, HasSubstr("SigIgn:\t0000000000000000\n"));
}

TEST_F(RunHandler, HasProcessGroupOfItsOwn) {
  EXPECT_EQ(
      printed("read -r pid name state parent group rest </proc/$$/stat; echo $((group - $$))"),
      "0");
}

// ---- Failures ----

TEST_F(RunHandler, ReportsStatusAndFirstLineOfErrors) {
  EXPECT_EQ(runScript("echo '{}'; echo first >&2; echo second >&2; exit 3"),
            failure("The program ended with status 3.", 3, "first"));
  EXPECT_EQ(run({"/bin/false", {}}), failure("The program ended with status 1.", 1));
}

TEST_F(RunHandler, IgnoresErrorsOfProgramThatSucceeds) {
  EXPECT_EQ(runScript("echo problem >&2; echo done"), (Dictionary{{"Output", "done"}}));
}

TEST_F(RunHandler, ReportsErrorsThatAreNotUtf8AsData) {
  EXPECT_EQ(runScript("printf '\\377\\n' >&2; exit 1"),
            failure("The program ended with status 1.", 1, Data{std::byte{0xff}}));
}

TEST_F(RunHandler, TruncatesLongLineOfErrorsBetweenCharacters) {
  const Dictionary answer = runScript(
      "printf x >&2; i=0; while [ $i -lt 3000 ]; do printf '\\303\\274'; i=$((i+1)); done >&2;"
      "exit 1");
  std::string line = "x";
  while (line.size() < 4095) {
    line += "\u00fc";
  }
  EXPECT_EQ(answer, failure("The program ended with status 1.", 1, line));
}

TEST_F(RunHandler, ReportsSignalUnlikeExitStatus) {
  EXPECT_EQ(runScript("kill -SEGV $$"),
            failure("The program was ended by signal 11 (Segmentation fault).", 139));
  EXPECT_EQ(runScript("echo why >&2; kill -KILL $$"),
            failure("The program was ended by signal 9 (Killed).", 137, "why"));
  EXPECT_EQ(runScript("exit 137"), failure("The program ended with status 137.", 137));
}

TEST_F(RunHandler, ReportsWhyProgramCannotBeStarted) {
  EXPECT_EQ(run({"/missing/program", {}}),
            failure("The program can't be started: No such file or directory.", 127));
  EXPECT_EQ(run({"/etc", {}}), failure("The program can't be started: Permission denied.", 126));
  EXPECT_EQ(run({"/etc/passwd", {}}),
            failure("The program can't be started: Permission denied.", 126));
}

TEST_F(RunHandler, StartsNoShellForScriptWithoutInterpreter) {
  const ScratchFolder folder;
  const std::string path = folder.at("script");
  PropertyList("echo").toFile(path);
  ASSERT_EQ(::chmod(path.c_str(), 0700), 0);
  EXPECT_EQ(run({path, {}}), failure("The program can't be started: Exec format error.", 126));
}

TEST_F(RunHandler, ReportsEveryLackOfDescriptors) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  int failures = 0;
  // A first failure without the limit: a sanitizer checks exceptions once, with a pipe of its own.
  Dictionary answer = run({"/missing/program", {}});
  for (rlim_t limit = 3; answer.contains("Error"); ++limit) {
    ASSERT_LE(limit, 100U);
    const rlimit limited{limit, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limited), 0);
    answer = run({"/bin/true", {}});
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    if (!answer.contains("Error")) continue;
    ++failures;
    EXPECT_EQ(answer, failure("The program can't be started: Too many open files.", 126))
        << answer.description();
  }
  EXPECT_GE(failures, 9);  // an event, two pipes, the input, three copies for the program
  EXPECT_EQ(answer, (Dictionary{{"Output", ""}}));
}

// ---- Limits ----

TEST_F(RunHandler, KillsWholeGroupAfterTimeout) {
  const ScratchFolder folder;
  const Dictionary answer = runHandler(
      shell("tail -f /dev/null & echo $! >\"$1\"; echo why >&2; wait", {folder.at("child")}),
      request(1500ms), {}, {});
  EXPECT_EQ(answer, failure("The program did not end within 1500 ms and was killed.", 137, "why"));
  const pid_t child = PropertyList::fromFile(folder.at("child")).intValue();
  EXPECT_GT(child, 0);
  EXPECT_FALSE(exists(child));
}

TEST_F(RunHandler, KillsProgramThatIgnoresOtherSignals) {
  EXPECT_EQ(runHandler(shell("trap '' TERM INT HUP; while :; do tail -f /dev/null; done"),
                       request(1s), {}, {}),
            failure("The program did not end within 1 s and was killed.", 137));
}

TEST_F(RunHandler, KillsProgramThatStoppedItself) {
  EXPECT_EQ(runHandler(shell("kill -STOP $$"), request(1ms), {}, {}),
            failure("The program did not end within 1 ms and was killed.", 137));
}

TEST_F(RunHandler, KillsProgramThatWritesErrorsForever) {
  EXPECT_EQ(runHandler(shell("yes problem >&2"), request(500ms), {}, {}),
            failure("The program did not end within 500 ms and was killed.", 137, "problem"));
}

TEST_F(RunHandler, KillsProgramThatFloodsOutput) {
  EXPECT_EQ(runScript("echo why >&2; yes"),
            failure("The program wrote more than 1 MiB and was killed.", 137, "why"));
}

TEST_F(RunHandler, AllowsOutputOfOneMebibyte) {
  const Dictionary answer = runScript("head -c 1048576 /dev/zero | tr '\\0' x");
  EXPECT_EQ(answer, (Dictionary{{"Output", std::string(1 << 20, 'x')}}));
}

TEST_F(RunHandler, RefusesOutputOfOneByteMore) {
  for (int round = 0; round < 50; ++round) {  // it may end before all is read
    const Dictionary answer = run({"/usr/bin/head", {"-c", "1048577", "/dev/zero"}});
    EXPECT_THAT(std::string(answer.string("Error").value_or("")),
                StartsWith("The program wrote more than 1 MiB"));
  }
}

TEST_F(RunHandler, DropsFloodOfErrors) {
  EXPECT_EQ(runScript("head -c 20000000 /dev/zero >&2; echo done"),
            (Dictionary{{"Output", "done"}}));
}

// ---- The end of a program ----

TEST_F(RunHandler, AwaitsProgramThatClosedItsStreams) {
  const Gate gate;
  auto answer = std::async(std::launch::async, [&gate] {
    return run(shell("exec <&- >&- 2>&-; read -r line <\"$1\"; exit 7", {gate.path()}));
  });
  gate.open();
  EXPECT_EQ(answer.get(), failure("The program ended with status 7.", 7));
}

TEST_F(RunHandler, KillsBackgroundProcessesOnceProgramEnds) {
  const auto begun = steady_clock::now();
  const Dictionary answer = runScript("tail -f /dev/null & tail -f /dev/null & echo $!");
  EXPECT_LT(steady_clock::now() - begun, soon);
  const pid_t child = numberIn(answer);
  EXPECT_GT(child, 0);
  EXPECT_FALSE(exists(child));
}

TEST_F(RunHandler, KeepsStatusIfServerWasStartedWithSigchldIgnored) {
  std::signal(SIGCHLD, SIG_IGN);
  becomeSubreaper();
  EXPECT_EQ(runScript("exit 3"), failure("The program ended with status 3.", 3));
}

TEST_F(RunHandler, KillsManyGenerationsOfProcesses) {
  EXPECT_EQ(
      runScript("f() { [ $1 -eq 0 ] && tail -f /dev/null; f $(($1 - 1)) & tail -f /dev/null; };"
                "f 5 & f 5 & echo done"),
      (Dictionary{{"Output", "done"}}));
}

TEST_F(RunHandler, DoesNotAwaitDaemonThatHoldsOutput) {
  const Gate gate;
  const auto begun = steady_clock::now();
  const Dictionary answer =
      run(shell("setsid sh -c 'echo $$ >\"$1\"; exec tail -f /dev/null' x \"$1\" &"
                "read -r daemon <\"$1\"; echo $daemon",
                {gate.path()}));
  EXPECT_LT(steady_clock::now() - begun, soon);
  const pid_t daemon = numberIn(answer);
  ASSERT_GT(daemon, 0);
  EXPECT_TRUE(exists(daemon));

  const Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, daemon, 0)));
  ASSERT_GE(process.get(), 0);
  ::kill(daemon, SIGTERM);
  awaitEnd(process);
  EXPECT_TRUE(exists(daemon));  // ended, but not reaped
  reapStrays();
  EXPECT_FALSE(exists(daemon));
}

TEST_F(RunHandler, AnswersWhileDaemonFloodsItsStreams) {
  const Gate gate;
  const Dictionary answer =
      runHandler(shell("setsid sh -c 'echo $$ >\"$1\"; exec yes >&2' x \"$1\" &"
                       "read -r daemon <\"$1\"; echo $daemon",
                       {gate.path()}),
                 request(), {}, {});
  const pid_t daemon = numberIn(answer);
  ASSERT_GT(daemon, 0);
  // It ends by itself: nobody reads what it writes.
  siginfo_t info{};
  EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(daemon), &info, WEXITED), 0);
  EXPECT_EQ(info.si_status, SIGPIPE);
}

// ---- Stops ----

TEST_F(RunHandler, KillsGroupAtOnceOnStop) {
  const Gate gate;
  std::stop_source stop;
  const auto begun = steady_clock::now();
  auto answer = std::async(std::launch::async, [&] {
    return runHandler(shell("tail -f /dev/null & : >\"$1\"; tail -f /dev/null", {gate.path()}),
                      request(), {}, stop.get_token());
  });
  gate.awaitWriter();
  stop.request_stop();
  EXPECT_EQ(answer.get(), (Dictionary{{"Error", "stopping"}}));
  EXPECT_LT(steady_clock::now() - begun, soon);
}

TEST_F(RunHandler, StartsNothingAfterStop) {
  std::stop_source stop;
  stop.request_stop();
  EXPECT_EQ(runHandler({"/missing/program", {}}, request(), {}, stop.get_token()),
            (Dictionary{{"Error", "stopping"}}));
}

TEST_F(RunHandler, KillsProgramThatLeftItsGroupOnStop) {
  const Gate gate;
  std::stop_source stop;
  auto answer = std::async(std::launch::async, [&] {
    const std::string script =
        "import os, signal, sys\n"
        "os.setpgid(0, os.getpgid(os.getppid()))\n"
        "open(sys.argv[1], 'w').close()\n"
        "signal.pause()\n";
    return runHandler({"/usr/bin/python3", {"-c", script, gate.path()}}, request(), {},
                      stop.get_token());
  });
  gate.awaitWriter();
  stop.request_stop();
  EXPECT_EQ(answer.get(), (Dictionary{{"Error", "stopping"}}));
}

// ---- Many at once ----

TEST_F(RunHandler, RunsHandlersInManyThreads) {
  std::atomic<int> next = 0;
  std::atomic<int> right = 0;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread) {
      threads.emplace_back([&] {
        for (int index = next++; index < 100; index = next++) {
          const std::string status = std::to_string(index % 2);
          const Dictionary packet{{"n", std::to_string(index)}};
          const Dictionary answer =
              run(shell("tail -f /dev/null & cat; echo x >&2; exit " + status), packet);
          right += answer ==
                   (index % 2 == 0 ? packet : failure("The program ended with status 1.", 1, "x"));
        }
      });
    }
  }
  EXPECT_EQ(right, 100);
}

TEST_F(RunHandler, KeepsEveryStatusFromReapStrays) {
  std::atomic<int> running = 4;
  std::atomic<int> right = 0;
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        right += runScript("exit 5") == failure("The program ended with status 5.", 5);
      }
      --running;
    });
  }
  while (running > 0) {
    reapStrays();
  }
  threads.clear();
  EXPECT_EQ(right, 200);
}

}  // namespace
}  // namespace kt::test

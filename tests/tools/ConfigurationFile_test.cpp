// SPDX-License-Identifier: MIT

#include "tools/ktd/ConfigurationFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "tests/support/ScratchFolder.h"
#include "tools/common/Arguments.h"
#include "tools/common/Failure.h"
#include "tools/ktd/ConfigurationKeys.h"

namespace kt::test {
namespace {

using namespace tools;

using std::chrono::milliseconds;
using Ports = std::vector<std::int32_t>;
using Texts = std::vector<std::string>;

// A configuration file in a folder of its own.
class ConfigurationFile : public testing::Test {
 protected:
  Configuration read(const std::string &text, const KeySet &given = {}) const {
    std::ofstream(path()) << text;
    Configuration configuration;
    applyConfigurationFile(path(), given, configuration);
    return configuration;
  }

  // Returns why the file is refused, without its path; what it says if it is not refused.
  std::string refusal(const std::string &text, const KeySet &given = {}) const {
    try {
      return "read: " + textOf(read(text, given));
    } catch (const Failure &error) {
      const std::string_view whole = error.what();
      EXPECT_TRUE(whole.starts_with(path() + ", ")) << whole;
      return std::string(whole.substr(path().size() + 2));
    }
  }

  std::string path() const { return folder_.at("ktd.plist"); }
  std::string folder() const { return folder_.path(); }

 private:
  ScratchFolder folder_;
};

const std::string defaults = R"({
  debug = NO;
  files = ();
  handle = {};
  "handler-timeout" = 10;
  ports = ( 4798, 4711, 5600, 4822, 3493, 4926 );
  signature = KtUDP;
  types = ();
  unique = NO;
  workers = 4;
}
)";

// ---- Values ----

TEST_F(ConfigurationFile, SetsWhatItNamesAndKeepsDefaults) {
  EXPECT_EQ(textOf(read("{}")), defaults);
  EXPECT_EQ(read("{ signature = Office; }").signature, "Office");
  EXPECT_EQ(read("{ signature = Office; }").workers, 4);
}

TEST_F(ConfigurationFile, MayHaveComments) {
  EXPECT_EQ(read("// The office's server\n{ signature /* of */ = Office; // us\n }").signature,
            "Office");
}

TEST_F(ConfigurationFile, ReadsPortsFromArrayOrText) {
  EXPECT_EQ(read("{ ports = ( 9001, 9000 ); }").ports, (Ports{9001, 9000}));
  EXPECT_EQ(read("{ ports = \"9001,9000\"; }").ports, (Ports{9001, 9000}));
  EXPECT_EQ(read("{ ports = 9001; }").ports, Ports{9001});
}

TEST_F(ConfigurationFile, ReadsBroadcastAddress) {
  EXPECT_EQ(read("{ broadcast = 192.168.1.255; }").broadcast, "192.168.1.255");
}

TEST_F(ConfigurationFile, ReadsFlags) {
  EXPECT_TRUE(read("{ unique = YES; }").unique);
  EXPECT_FALSE(read("{ unique = NO; }").unique);
  EXPECT_TRUE(read("{ debug = YES; }").debug);
}

TEST_F(ConfigurationFile, ReadsWorkersAndHandlerTimeout) {
  const Configuration configuration = read("{ workers = 64; handler-timeout = 0.25; }");
  EXPECT_EQ(configuration.workers, 64);
  EXPECT_EQ(configuration.service.handlerTimeout, milliseconds(250));
}

TEST_F(ConfigurationFile, ReadsFilesFromArrayOrText) {
  EXPECT_EQ(read("{ files = ( /, \"" + folder() + "\" ); }").service.files.roots,
            (Texts{"/", folder()}));
  EXPECT_EQ(read("{ files = /; }").service.files.roots, Texts{"/"});
  EXPECT_EQ(read("{ files = (); }").service.files.roots, Texts{});
}

TEST_F(ConfigurationFile, ReadsTypesFromArrayOrListWithCommas) {
  EXPECT_EQ(read("{ files = /; types = ( txt, \"a,b\" ); }").service.files.types,
            (Texts{"txt", "a,b"}));
  EXPECT_EQ(read("{ files = /; types = \"txt,h\"; }").service.files.types, (Texts{"txt", "h"}));
  EXPECT_EQ(read("{ files = /; types = txt; }").service.files.types, Texts{"txt"});
  EXPECT_EQ(read("{ files = /; types = (); }").service.files.types, Texts{});
}

TEST_F(ConfigurationFile, ReadsHandlersFromArraysOrTexts) {
  const auto handlers =
      read("{ handle = { Say = ( /bin/sh, \"-c\", \"echo a b\" ); List = \"/bin/sh -c ls\"; }; }")
          .service.handlers;
  EXPECT_EQ(handlers.size(), 2U);
  EXPECT_EQ(handlers.at("Say"), (Handler{"/bin/sh", {"-c", "echo a b"}}));
  EXPECT_EQ(handlers.at("List"), (Handler{"/bin/sh", {"-c", "ls"}}));
}

TEST_F(ConfigurationFile, ReadsBytesThatAreNotTextFromData) {
  EXPECT_EQ(read("{ handle = { Say = ( /bin/sh, <ff> ); }; }").service.handlers.at("Say").arguments,
            Texts{"\xff"});
}

// ---- Keys on the command line ----

TEST_F(ConfigurationFile, LeavesGivenKeysAlone) {
  const Configuration configuration = read("{ signature = Office; workers = 5; }", {"signature"});
  EXPECT_EQ(configuration.signature, "KtUDP");
  EXPECT_EQ(configuration.workers, 5);
}

TEST_F(ConfigurationFile, RefusesWrongValuesOfGivenKeys) {
  EXPECT_NE(refusal("{ workers = 0; }", {"workers"}).find("workers: \"0\" is not"),
            std::string::npos);
}

TEST_F(ConfigurationFile, DoesNotLookForUnusedFilesAndPrograms) {
  EXPECT_EQ(textOf(read("{ files = /no/such; }", {"files"})), defaults);
  EXPECT_EQ(textOf(read("{ handle = { A = /no/such; }; }", {"handle"})), defaults);
}

// ---- Refusals ----

const std::string allKeys =
    "The keys are: broadcast, debug, files, handle, handler-timeout, ports, signature, types, "
    "unique, workers.";

TEST_F(ConfigurationFile, RefusesUnknownKey) {
  EXPECT_EQ(refusal("{\n  unique = YES;\n    signatur = Office;\n}"),
            "line 3, column 5: unknown key \"signatur\". " + allKeys);
  EXPECT_EQ(refusal("{ \"a\\033\" = b; }"), "line 1, column 3: unknown key \"a\\033\". " + allKeys);
}

TEST_F(ConfigurationFile, MayNotNameFileNorPrintItself) {
  EXPECT_EQ(refusal("{ config = /x; }"), "line 1, column 3: unknown key \"config\". " + allKeys);
  EXPECT_EQ(refusal("{ print-config = YES; }"),
            "line 1, column 3: unknown key \"print-config\". " + allKeys);
}

TEST_F(ConfigurationFile, RefusesRepeatedKey) {
  EXPECT_EQ(refusal("{ workers = 1;\n workers = 2; }"),
            "line 2, column 2: the key \"workers\" is repeated");
  EXPECT_EQ(refusal("{ handle = { A = /bin/sh; 'A' = /bin/sh; }; }"),
            "line 1, column 27: handle: the kind \"A\" is repeated");
}

TEST_F(ConfigurationFile, RefusesMalformedText) {
  EXPECT_EQ(refusal("{ signature = ; }"), "line 1, column 15: expected a value, found ';'");
  EXPECT_EQ(refusal(""), "line 1, column 1: expected a value, found the end of the text");
}

TEST_F(ConfigurationFile, RefusesTextThatIsNotDictionary) {
  EXPECT_EQ(refusal("// a\n( b )"),
            "line 2, column 1: expected a dictionary such as { signature = Office; }");
}

TEST_F(ConfigurationFile, RefusesWrongPorts) {
  const std::string list = " is not a list of ports from 1 to 65535 with commas between them";
  EXPECT_EQ(refusal("{ ports = 0; }"), "line 1, column 11: ports: \"0\"" + list);
  EXPECT_EQ(refusal("{ ports = \"1, 2\"; }"), "line 1, column 11: ports: \"1, 2\"" + list);
  EXPECT_EQ(refusal("{ ports = (); }"), "line 1, column 11: ports: an empty array" + list);
  EXPECT_EQ(refusal("{ ports = {}; }"), "line 1, column 11: ports: a dictionary" + list);
  EXPECT_EQ(refusal("{ ports = ( 1,\n 65536 ); }"),
            "line 2, column 2: ports: \"65536\" is not a port from 1 to 65535");
  EXPECT_EQ(refusal("{ ports = ( \"1,2\" ); }"),
            "line 1, column 13: ports: \"1,2\" is not a port from 1 to 65535");
}

TEST_F(ConfigurationFile, RefusesWrongTextsNumbersAndFlags) {
  EXPECT_EQ(refusal("{ signature = ( a ); }"),
            "line 1, column 15: signature: an array is not a text");
  EXPECT_EQ(refusal("{ broadcast = localhost; }"),
            "line 1, column 15: broadcast: \"localhost\" is not an IPv4 address such as "
            "192.168.1.255");
  EXPECT_EQ(refusal("{ workers = 65; }"),
            "line 1, column 13: workers: \"65\" is not a number from 1 to 64");
  EXPECT_EQ(refusal("{ handler-timeout = 0; }"),
            "line 1, column 21: handler-timeout: \"0\" is not a number of seconds above 0, at most "
            "86400");
  EXPECT_EQ(refusal("{ unique = yes; }"), "line 1, column 12: unique: \"yes\" is not YES or NO");
}

TEST_F(ConfigurationFile, RefusesTextWithNul) {
  EXPECT_EQ(refusal("{ files = \"/\\000x\"; }"),
            "line 1, column 11: files: \"/\\000x\" has a NUL, which no text may have here");
}

TEST_F(ConfigurationFile, RefusesWrongTypes) {
  EXPECT_EQ(refusal("{ files = /; types = ( txt, .h ); }"),
            "line 1, column 29: types: \".h\" is not an extension: it has a dot");
  EXPECT_EQ(refusal("{ files = /; types = \"txt,a/b\"; }"),
            "line 1, column 22: types: \"a/b\" is not an extension: it has a slash");
  EXPECT_EQ(refusal("{ types = ( txt ); }"), "line 1, column 11: types requires files");
}

TEST_F(ConfigurationFile, RefusesDirectoryThatCannotBeListed) {
  EXPECT_EQ(refusal("{ files = ( /, /no/such ); }"),
            "line 1, column 16: the files of \"/no/such\" can't be served: No such file or "
            "directory");
}

TEST_F(ConfigurationFile, RefusesWrongHandlers) {
  EXPECT_EQ(refusal("{ handle = /bin/sh; }"),
            "line 1, column 12: handle: \"/bin/sh\" is not a dictionary such as { Uptime = ( "
            "/usr/bin/uptime ); }");
  EXPECT_EQ(refusal("{ handle = { Echo = /bin/sh; }; }"),
            "line 1, column 14: handle: the kind \"Echo\" is built in");
  EXPECT_EQ(refusal("{ handle = { A = sh; }; }"),
            "line 1, column 18: handle: the program \"sh\" is not an absolute path such as "
            "/usr/bin/uptime");
  EXPECT_EQ(refusal("{ handle = { A = (); }; }"),
            "line 1, column 18: handle: the program is missing");
  EXPECT_EQ(refusal("{ handle = { A = ( /bin/sh, () ); }; }"),
            "line 1, column 29: handle: an empty array is not a program or an argument");
  EXPECT_EQ(refusal("{ handle = { A = { B = c; }; }; }"),
            "line 1, column 18: handle: a dictionary is not a program or an argument");
}

TEST_F(ConfigurationFile, RefusesProgramThatCannotBeRun) {
  EXPECT_EQ(refusal("{ handle = {\n  A = ( /bin/sh );\n  B = ( /no/such ); }; }"),
            "line 3, column 7: the program \"/no/such\" can't be run: No such file or "
            "directory");
}

TEST_F(ConfigurationFile, ThatCannotBeReadIsRefused) {
  Configuration configuration;
  EXPECT_THROW(applyConfigurationFile("/no/such", {}, configuration), Failure);
}

TEST_F(ConfigurationFile, EscapesItsName) {
  const std::string odd = folder() + "/a\x1b";
  std::ofstream(odd) << "{ a = b; }";
  Configuration configuration;
  try {
    applyConfigurationFile(odd, {}, configuration);
    FAIL() << "was read";
  } catch (const Failure &error) {
    EXPECT_TRUE(std::string_view(error.what()).starts_with(folder() + "/a\\033, line 1"));
  }
}

// ---- Text ----

TEST_F(ConfigurationFile, IsReadBackFromItsText) {
  Configuration full;
  full.signature = "Office \"1\"";
  full.ports = {9000, 1};
  full.broadcast = "127.0.0.1";
  full.debug = full.unique = true;
  full.workers = 64;
  full.service.files.roots = {"/", folder()};
  full.service.files.types = {"txt", "a,b", "", "\xff"};
  full.service.handlers["Say it"] = Handler{"/bin/sh", {"-c", "echo 'a  b'", "", "\xff\n"}};
  full.service.handlers["A"] = Handler{"/bin/sh", {}};
  full.service.handlerTimeout = milliseconds(251);
  const std::string text = textOf(full);
  const Configuration same = read(text);
  EXPECT_EQ(textOf(same), text);
  EXPECT_EQ(same.service, full.service);
  EXPECT_EQ(same.signature, full.signature);
  EXPECT_EQ(same.ports, full.ports);
  EXPECT_EQ(same.broadcast, full.broadcast);
  EXPECT_TRUE(same.debug && same.unique);
  EXPECT_EQ(same.workers, full.workers);
}

TEST_F(ConfigurationFile, KeepsEveryTimeLimitInItsText) {
  for (int count = 1; count <= 86'400'000; count += count < 5000 ? 1 : 9973) {
    Configuration configuration;
    configuration.service.handlerTimeout = milliseconds(count);
    const PropertyList text = PropertyList::parse(textOf(configuration));
    const std::string seconds(text.asDictionary()->string("handler-timeout").value());
    EXPECT_EQ(readTimeLimit(seconds), milliseconds(count)) << seconds;
  }
}

TEST_F(ConfigurationFile, HasOneLinePerHandler) {
  Configuration configuration;
  configuration.service.handlers["Uptime"] = Handler{"/usr/bin/uptime", {}};
  configuration.service.handlers["Disks"] = Handler{"/bin/df", {"-h"}};
  EXPECT_NE(textOf(configuration)
                .find("  handle = {\n"
                      "    Disks = ( \"/bin/df\", \"-h\" );\n"
                      "    Uptime = ( \"/usr/bin/uptime\" );\n"
                      "  };\n"),
            std::string::npos);
}

TEST(ConfigurationKeys, AreInOrderOfNames) {
  EXPECT_TRUE(std::ranges::is_sorted(configurationKeys(), {}, &ConfigurationKey::name));
}

}  // namespace
}  // namespace kt::test

// SPDX-License-Identifier: MIT

#include "tools/ktd/ConfigurationSource.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>

#include "tests/support/ScratchFolder.h"
#include "tools/common/Failure.h"

namespace kt::test {
namespace {

using namespace tools;

using Texts = std::vector<std::string>;

// Command lines, and a configuration file that they may name.
class KtdConfiguration : public testing::Test {
 protected:
  // Returns the source that the arguments describe.
  static ConfigurationSource sourceOf(Texts arguments) {
    ConfigurationSource source;
    EXPECT_EQ(statusOf(source, std::move(arguments)), std::nullopt);
    return source;
  }

  static std::optional<int> statusOf(ConfigurationSource &source, Texts arguments) {
    arguments.insert(arguments.begin(), "ktd");
    std::vector<const char *> argv;
    for (const std::string &argument : arguments) {
      argv.push_back(argument.c_str());
    }
    return source.parse(static_cast<int>(argv.size()), argv.data());
  }

  // Returns the configuration of the file and of the arguments.
  Configuration load(const std::string &text, Texts arguments = {}) const {
    write(text);
    arguments.insert(arguments.end(), {"--config", path()});
    return sourceOf(std::move(arguments)).load();
  }

  void write(const std::string &text) const { std::ofstream(path()) << text; }

  std::string path() const { return folder_.at("ktd.plist"); }

 private:
  ScratchFolder folder_;
};

// Returns what load() throws.
std::string refusal(const ConfigurationSource &source) {
  try {
    return "loaded: " + textOf(source.load());
  } catch (const Failure &error) {
    return error.what();
  }
}

// ---- The command line alone ----

TEST_F(KtdConfiguration, NeedsNothing) {
  const ConfigurationSource source = sourceOf({});
  EXPECT_FALSE(source.hasFile());
  EXPECT_FALSE(source.printsConfiguration());
  EXPECT_EQ(textOf(source.load()), textOf(Configuration()));
}

TEST_F(KtdConfiguration, ReadsEveryOption) {
  const Configuration configuration = sourceOf({"--signature",
                                                "Office",
                                                "--ports",
                                                "9000,9001",
                                                "--broadcast",
                                                "127.0.0.1",
                                                "--unique",
                                                "--debug",
                                                "--files",
                                                "/",
                                                "/bin",
                                                "--types",
                                                "txt,h",
                                                "--workers",
                                                "8",
                                                "--handler-timeout",
                                                "0.5",
                                                "--handle",
                                                "A=/bin/sh -c ls",
                                                "--handle",
                                                "B=/bin/sh"})
                                          .load();
  EXPECT_EQ(configuration.signature, "Office");
  EXPECT_EQ(configuration.ports, (std::vector<std::int32_t>{9000, 9001}));
  EXPECT_EQ(configuration.broadcast, "127.0.0.1");
  EXPECT_TRUE(configuration.unique && configuration.debug);
  EXPECT_EQ(configuration.service.files.roots, (Texts{"/", "/bin"}));
  EXPECT_EQ(configuration.service.files.types, (Texts{"txt", "h"}));
  EXPECT_EQ(configuration.workers, 8);
  EXPECT_EQ(configuration.service.handlerTimeout, std::chrono::milliseconds(500));
  EXPECT_EQ(configuration.service.handlers.at("A"), (Handler{"/bin/sh", {"-c", "ls"}}));
  EXPECT_EQ(configuration.service.handlers.at("B"), (Handler{"/bin/sh", {}}));
}

TEST_F(KtdConfiguration, ChecksFilesAndProgramsWhenLoaded) {
  EXPECT_EQ(refusal(sourceOf({"--files", "/no/such"})),
            "the files of \"/no/such\" can't be served: No such file or directory");
  EXPECT_EQ(refusal(sourceOf({"--handle", "A=/no/such -x"})),
            "the program \"/no/such\" can't be run: No such file or directory");
}

// ---- With a file ----

TEST_F(KtdConfiguration, CommandLineReplacesValuesOfFile) {
  const Configuration configuration =
      load("{ signature = Office; workers = 5; }", {"--workers", "6"});
  EXPECT_EQ(configuration.signature, "Office");
  EXPECT_EQ(configuration.workers, 6);
}

TEST_F(KtdConfiguration, CommandLineReplacesValueEvenByDefault) {
  EXPECT_EQ(load("{ workers = 5; }", {"--workers", "4"}).workers, 4);
}

TEST_F(KtdConfiguration, CommandLineReplacesListsAsWhole) {
  const Service service = load("{ files = ( /, /usr ); handle = { A = /bin/sh; B = /bin/sh; }; }",
                               {"--files", "/bin", "--handle", "C=/bin/sh"})
                              .service;
  EXPECT_EQ(service.files.roots, Texts{"/bin"});
  EXPECT_EQ(service.handlers.size(), 1U);
  EXPECT_TRUE(service.handlers.contains("C"));
}

TEST_F(KtdConfiguration, FlagsOfFileStayWithoutThoseOfCommandLine) {
  EXPECT_TRUE(load("{ unique = YES; }").unique);
  EXPECT_TRUE(load("{ unique = NO; }", {"--unique"}).unique);
}

TEST_F(KtdConfiguration, TypesAndFilesMayComeFromEither) {
  EXPECT_EQ(load("{ files = /; }", {"--types", "txt"}).service.files.types, Texts{"txt"});
  EXPECT_EQ(load("{ types = txt; }", {"--files", "/"}).service.files.types, Texts{"txt"});
}

TEST_F(KtdConfiguration, ListsOfTypesMeanTheSameInBoth) {
  for (const std::string types : {"txt,h", "a,,b", "a,", "", "txt"}) {
    EXPECT_EQ(load("{ files = /; types = \"" + types + "\"; }").service.files.types,
              sourceOf({"--files", "/", "--types", types}).load().service.files.types)
        << types;
  }
}

TEST_F(KtdConfiguration, TypesWithoutFilesAreRefused) {
  write("{}");
  EXPECT_EQ(refusal(sourceOf({"--types", "txt", "--config", path()})), "--types requires --files");
  write("{ types = txt; }");
  EXPECT_EQ(refusal(sourceOf({"--config", path()})),
            path() + ", line 1, column 11: types requires files");
}

TEST_F(KtdConfiguration, FileIsReadAgainByEachLoad) {
  write("{ workers = 5; signature = Office; }");
  const ConfigurationSource source = sourceOf({"--config", path()});
  EXPECT_TRUE(source.hasFile());
  EXPECT_EQ(source.load().workers, 5);
  write("{ workers = 6; }");
  EXPECT_EQ(source.load().workers, 6);
  EXPECT_EQ(source.load().signature, "KtUDP") << "what the file no longer says is forgotten";
}

TEST_F(KtdConfiguration, FileThatIsMissingIsRefused) {
  EXPECT_EQ(refusal(sourceOf({"--config", path()})),
            path() + ": can't read it: No such file or directory");
}

// ---- Reloading ----

TEST_F(KtdConfiguration, ReloadMayChangeService) {
  const Configuration old = sourceOf({}).load();
  const Configuration next =
      sourceOf({"--files", "/", "--types", "h", "--handle", "A=/bin/sh", "--handler-timeout", "1"})
          .load();
  EXPECT_NE(old.service, next.service);
  EXPECT_EQ(whyNotReloaded(old, next), std::nullopt);
  EXPECT_EQ(whyNotReloaded(old, old), std::nullopt);
}

TEST_F(KtdConfiguration, ReloadMayChangeNothingElse) {
  using Change = std::pair<Texts, std::string>;
  for (const auto &[arguments, what] : {
           Change{{"--signature", "Office"}, "the signature"},
           Change{{"--ports", "9000"}, "the ports"},
           Change{{"--broadcast", "127.0.0.1"}, "the broadcast address"},
           Change{{"--unique"}, "the flag unique"},
           Change{{"--debug"}, "the flag debug"},
           Change{{"--workers", "5"}, "the number of workers"},
           Change{{"--workers", "5", "--unique"}, "the flag unique and the number of workers"},
           Change{{"--workers", "5", "--unique", "--ports", "1"},
                  "the ports, the flag unique and the number of workers"},
       }) {
    EXPECT_EQ(whyNotReloaded(Configuration(), sourceOf(arguments).load()),
              what + " can't change while ktd runs; restart it");
  }
}

}  // namespace
}  // namespace kt::test

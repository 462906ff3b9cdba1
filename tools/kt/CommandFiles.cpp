// SPDX-License-Identifier: MIT

// kt files: the files that a server serves, page by page.
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "tools/common/Json.h"
#include "tools/common/Paths.h"
#include "tools/common/Requests.h"
#include "tools/kt/Connection.h"
#include "tools/kt/Request.h"
#include "tools/kt/Results.h"

namespace kt::tools {

namespace {

// The wait for a page unless --timeout says otherwise. A server may walk for 5 s before it answers;
// a request repeated meanwhile would only make it walk once more.
constexpr std::int32_t pageTimeoutMs = 6000;
constexpr std::int32_t pageRetries = 1;

constexpr const char *help = R"(
Prints the path that each file has on the server's machine, page by page. If files are added
or removed meanwhile, some may be missing or appear twice. On a terminal, characters that are
not printable are escaped; elsewhere paths are the bytes that the server sent. As JSON: root
and path; bytes that are not UTF-8 are {"data": "ff2e68"}. Waits 6 s for a page, because the
server may walk for 5 s, and asks for it once more, unless --timeout and --retries say
otherwise.
)";

// ---- A server's answers ----

struct Page {
  std::string root;
  std::vector<std::string> files;    // relative to the root
  std::int32_t total = 0;            // files on all pages
  std::optional<std::int32_t> next;  // the offset of the next page; nothing on the last
};

Failure badAnswer(const std::string &problem) {
  return Failure("the server's answer does not fit the request: " + problem);
}

const PropertyList &valueIn(const Dictionary &answer, const char *key) {
  const PropertyList *value = answer.find(key);
  if (value == nullptr) throw badAnswer(std::string("it has no ") + key);
  return *value;
}

std::string pathIn(const PropertyList &value) {
  std::optional<std::string> path = pathBytes(value);
  if (!path) throw badAnswer("a path is neither a string nor data");
  return *std::move(path);
}

Page pageOf(const Dictionary &answer, std::int32_t offset) {
  requireNoError(answer);
  Page page;
  page.root = pathIn(valueIn(answer, rootKey));
  page.total = valueIn(answer, totalKey).intValue();
  const Array *files = valueIn(answer, filesKey).asArray();
  if (files == nullptr) throw badAnswer("its Files are not an array");
  for (const PropertyList &file : *files) {
    page.files.push_back(pathIn(file));
  }
  if (const PropertyList *next = answer.find(nextKey)) page.next = next->intValue();
  // Otherwise a server could keep a client asking forever.
  if (page.next && *page.next <= offset) throw badAnswer("the next page is not after this one");
  return page;
}

// ---- The command ----

// A line on a terminal that shows the progress; nothing anywhere else.
class Progress {
 public:
  explicit Progress(bool wanted) : shown_(wanted && ::isatty(STDERR_FILENO) == 1) {}
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;
  ~Progress() { clear(); }

  void show(std::int32_t count, std::int32_t total) const {
    if (shown_) std::fprintf(stderr, "\r%ld of %ld files", long{count}, long{total});
  }

  // Removes the line, so that other lines can be printed.
  void clear() const {
    if (shown_) std::fputs("\r\033[K", stderr);
  }

 private:
  const bool shown_;
};

class Files : public Command {
 public:
  void declare(CommandLine &line) override {
    line.addTexts({"--type", "EXT",
                   "An extension to ask for, without its dot; may be given\n"
                   "several times (default: the types that the server names)"},
                  types_, extensionProblem);
    line.addFlag("--null", endsWithNul_, "End each path with a NUL, not with a line feed");
    line.setFooter(help);
  }

  int run(const Options &options) override {
    PathResults results(options, endsWithNul_);
    std::signal(SIGPIPE, SIG_DFL);  // a reader that has seen enough ends the command silently
    Connection connection(options);
    if (!options.timeoutMs) connection.client().setBaseReplyTimeout(pageTimeoutMs);
    if (!options.retries) connection.client().setNumberOfRetries(pageRetries);
    fetchAll(connection, options, results);
    return exitDone;
  }

 private:
  void fetchAll(Connection &connection, const Options &options, PathResults &results) const {
    const Progress progress(!options.quiet);
    std::int32_t total = 0;
    bool changed = false;
    for (std::optional<std::int32_t> offset = 0; offset;) {
      const Page page = fetch(connection, options, *offset);
      progress.clear();
      print(page, results);
      changed = changed || (*offset > 0 && page.total != total);
      total = page.total;
      offset = page.next;
      if (offset) progress.show(*offset, total);
    }
    if (changed) {
      std::fputs(
          "kt files: the server's files changed meanwhile: some may be missing or appear "
          "twice\n",
          stderr);
    }
    if (total == 0 && types_.empty()) {
      std::fputs("kt files: no file is of a type that the server names; give --type\n", stderr);
    }
  }

  [[nodiscard]] Page fetch(Connection &connection, const Options &options,
                           std::int32_t offset) const {
    const Dictionary request = requestFor(offset);
    requireDatagram(options.signature, request);
    return pageOf(connection.answerTo(request), offset);
  }

  [[nodiscard]] Dictionary requestFor(std::int32_t offset) const {
    Dictionary request = requestOfKind(filesKind);
    request[offsetKey] = offset;
    if (types_.empty()) return request;
    Array types;
    for (const std::string &type : types_) {
      types.push_back(pathValue(type));
    }
    request[typesKey] = types;
    return request;
  }

  static void print(const Page &page, PathResults &results) {
    for (const std::string &file : page.files) {
      results.add([&] { return results.textOf(joined(page.root, file)); },
                  [&] {
                    return JsonObject()
                        .addValue("root", pathValue(page.root))
                        .addValue("path", pathValue(file))
                        .text();
                  });
    }
    results.flush();
  }

  std::vector<std::string> types_;
  bool endsWithNul_ = false;
};

}  // namespace

Command &filesCommand() {
  static Files command;
  return command;
}

}  // namespace kt::tools

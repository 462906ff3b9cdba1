// SPDX-License-Identifier: MIT

// kt files: the files that a server serves, page after page.
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <memory>

#include "kt/foundation/Format.h"
#include "kt/udp/KtMessage.h"
#include "tools/common/DirectedClient.h"
#include "tools/common/Failure.h"
#include "tools/common/Numbers.h"
#include "tools/common/Paths.h"
#include "tools/kt/Command.h"
#include "tools/kt/Connection.h"
#include "tools/kt/PathPrinter.h"
#include "tools/kt/Request.h"

namespace kt::tools {

namespace {

// How long a page is waited for unless --timeout says it. A server may walk for 5 s before it
// answers; asked again meanwhile, it would only walk once more.
constexpr std::int32_t usualTimeoutMs = 6000;
constexpr std::int32_t usualRetries = 1;

struct Arguments {
  std::vector<std::string> types;
  bool endsWithNul = false;
};

// One answer of a server.
struct Page {
  std::string root;
  std::vector<std::string> files;    // relative to the root
  std::int32_t total = 0;            // files on all pages
  std::optional<std::int32_t> next;  // the offset of the next page; nothing on the last
};

Failure badAnswer(const std::string &problem) {
  return Failure("the server's answer is none to this request: " + problem);
}

const PropertyList &valueIn(const Dictionary &answer, const std::string &key) {
  const PropertyList *value = answer.find(key);
  if (value == nullptr) throw badAnswer("it has no " + key);
  return *value;
}

std::string pathIn(const PropertyList &value) {
  std::optional<std::string> path = pathBytes(value);
  if (!path) throw badAnswer("a path is neither a string nor data");
  return *std::move(path);
}

Page pageOf(const Dictionary &answer, std::int32_t offset) {
  if (const PropertyList *error = answer.find("Error")) {
    throw Failure("the server answers with an error: " + visible(pathIn(*error)));
  }
  Page page;
  page.root = pathIn(valueIn(answer, "Root"));
  page.total = valueIn(answer, "Total").intValue();
  const Array *files = valueIn(answer, "Files").asArray();
  if (files == nullptr) throw badAnswer("its Files are no array");
  for (const PropertyList &file : *files) {
    page.files.push_back(pathIn(file));
  }
  if (const PropertyList *next = answer.find("Next")) page.next = next->intValue();
  // Else a server could keep a client asking for ever.
  if (page.next && *page.next <= offset) throw badAnswer("the next page is not behind this one");
  return page;
}

Dictionary requestFor(const Arguments &arguments, std::int32_t offset) {
  Dictionary request{{std::string(keywordKey), "Files"}, {"Offset", offset}};
  if (arguments.types.empty()) return request;
  Array types;
  for (const std::string &type : arguments.types) {
    types.push_back(pathValue(type));
  }
  request["Types"] = types;
  return request;
}

// A line on a terminal that says how far it is; nothing anywhere else.
class Progress {
 public:
  explicit Progress(bool wanted) : shown_(wanted && ::isatty(STDERR_FILENO) == 1) {}
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;
  ~Progress() { clear(); }

  void show(std::int32_t count, std::int32_t total) const {
    if (shown_) std::cerr << kt::format("\r%d of %d files", count, total) << std::flush;
  }

  // Makes room for other lines.
  void clear() const {
    if (shown_) std::cerr << "\r\033[K" << std::flush;
  }

 private:
  const bool shown_;
};

void print(const Page &page, const Options &options, PathPrinter &printer) {
  if (options.quiet) return;
  for (const std::string &file : page.files) {
    if (options.json) {
      printer.printJson(
          Json{{"root", jsonOf(pathValue(page.root))}, {"path", jsonOf(pathValue(file))}});
    } else {
      printer.print(joined(page.root, file));
    }
  }
  printer.flush();
}

Page fetch(KtUDPClient &client, const Arguments &arguments, const Options &options,
           std::int32_t offset) {
  const Dictionary request = requestFor(arguments, offset);
  requireDatagram(options.signature, request);
  return pageOf(answerOf(client, request), offset);
}

int files(const CLI::App &app, const Arguments &arguments, const Options &options) {
  if (arguments.endsWithNul && options.json) throw Misuse("--null excludes --json");
  std::signal(SIGPIPE, SIG_DFL);  // a reader that has seen enough ends it, without a word
  DirectedClient client(options.broadcast);
  connect(client, options);
  if (app.count("--timeout") == 0) client.setBaseReplyTimeout(usualTimeoutMs);
  if (!options.retries) client.setNumberOfRetries(usualRetries);
  PathPrinter printer(arguments.endsWithNul);
  const Progress progress(!options.quiet);
  std::int32_t total = 0;
  bool changed = false;
  for (std::optional<std::int32_t> offset = 0; offset;) {
    const Page page = fetch(client, arguments, options, *offset);
    progress.clear();
    print(page, options, printer);
    changed = changed || (*offset > 0 && page.total != total);
    total = page.total;
    offset = page.next;
    if (offset) progress.show(*offset, total);
  }
  if (changed) {
    std::cerr << "kt files: the server's files changed meanwhile: some may be missing or come "
                 "twice\n";
  }
  if (total == 0 && arguments.types.empty()) {
    std::cerr << "kt files: no file is of a type that the server names; give --type\n";
  }
  return exitDone;
}

}  // namespace

Action declareFiles(CLI::App &app) {
  const auto arguments = std::make_shared<Arguments>();
  app.add_option("--type", arguments->types,
                 "An extension to ask for, without its dot; may be given\n"
                 "several times (default: the types that the server names)")
      ->type_name("EXT")
      ->check(extensionProblem)
      ->allow_extra_args(false);
  app.add_flag("--null", arguments->endsWithNul, "End each path with a NUL, not with a line feed");
  app.footer(
      "Prints the path that each file has on the server's machine. Asks for page after page:\n"
      "where files come or go meanwhile, some may be missing or come twice. On a terminal what is\n"
      "not printable is shown escaped; elsewhere paths are the bytes that the server sent. As "
      "JSON:\n"
      "root and path; bytes that are not UTF-8 are {\"data\": \"ff2e68\"}. A page is waited for 6 "
      "s,\n"
      "since the server may have to walk for 5 s, and asked for once more, unless --timeout and\n"
      "--retries say otherwise.");
  return [&app, arguments](const Options &options) { return files(app, *arguments, options); };
}

}  // namespace kt::tools

// SPDX-License-Identifier: MIT

#include <algorithm>
#include <chrono>
#include <limits>
#include <stdexcept>

#include "kt/foundation/Format.h"
#include "kt/udp/KtMessage.h"
#include "kt/walker/_KtWalker.h"
#include "tools/common/Numbers.h"
#include "tools/common/Paths.h"
#include "tools/ktd/ReplySize.h"
#include "tools/ktd/kinds/Kind.h"

namespace kt::tools {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t mostTypes = 100;          // of one request; each file is compared with each
constexpr std::chrono::seconds longestWalk{5};  // other requests wait as long
constexpr std::int32_t largestNumber = std::numeric_limits<std::int32_t>::max();

// ---- The request ----

// Says what is wrong with a request.
class BadRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::size_t numberIn(const Dictionary &request, std::string_view key, std::size_t usual) {
  const PropertyList *value = request.find(key);
  if (value == nullptr) return usual;
  const std::string *text = value->asString();
  const std::optional<std::int32_t> number =
      readCount(text != nullptr ? *text : value->description());
  if (!number) throw BadRequest(kt::format("%@ is no number from 0 up.", std::string(key)));
  return static_cast<std::size_t>(*number);
}

std::vector<std::string> typesIn(const PropertyList &value) {
  const Array *array = value.asArray();
  const Array one = array == nullptr ? Array{value} : Array();
  std::vector<std::string> types;
  for (const PropertyList &type : array != nullptr ? *array : one) {
    std::optional<std::string> bytes = pathBytes(type);
    if (!bytes) throw BadRequest("Types is no array of strings.");
    types.push_back(*std::move(bytes));
  }
  if (types.size() > mostTypes) throw BadRequest(kt::format("Types has more than %d.", mostTypes));
  return types;
}

// The types to look for: those of the request that the server names too; all of one side where the
// other names none.
std::vector<std::string> typesFor(const Dictionary &request,
                                  const std::vector<std::string> &named) {
  const PropertyList *value = request.find("Types");
  if (value == nullptr) return named;
  std::vector<std::string> types = typesIn(*value);
  if (!named.empty()) {
    std::erase_if(types, [&](const std::string &type) {
      return std::ranges::find(named, type) == named.end();
    });
  }
  return types;
}

// ---- The page ----

// The walker's delegate: counts all files and keeps those of one page. A page ends where the
// request, the datagram or the root ends it.
class Page {
 public:
  Page(const Dictionary &request, const ServerState &server)
      : server_(server),
        offset_(numberIn(request, "Offset", 0)),
        count_(numberIn(request, "Count", largestNumber)),
        root_(&server.files.roots.front()),
        rootOfFiles_(root_) {}

  // What is found from here on is below `root`.
  void begin(const std::string &root) {
    root_ = &root;
    prefixSize_ = joined(root, "").size();
  }

  bool fileFound(const std::string &path) {
    if (path == *root_) return true;  // which is not below itself
    if (total_++ >= offset_ && !full_) add(std::string_view(path).substr(prefixSize_));
    return true;
  }

  // A cycle of links may take for ever.
  bool wantsAbort() {
    if (Clock::now() < deadline_) return false;
    throw BadRequest("The files are too many to be listed in time.");
  }

  [[nodiscard]] Dictionary answer() const {
    Dictionary answer = answerWith(files_, *rootOfFiles_, total_);
    const std::size_t next = offset_ + files_.size();
    if (next < total_) answer["Next"] = next;
    return answer;
  }

 private:
  static Dictionary answerWith(const Array &files, const std::string &root, std::size_t total) {
    return {{"Files", files}, {"Root", pathValue(root)}, {"Total", total}};
  }

  void add(std::string_view name) {
    if (files_.empty()) beginFiles();
    PropertyList value = pathValue(name);
    const std::size_t size = value.description().size() + std::string_view(", ").size();
    const bool fits = files_.empty() || size <= room_;  // what is too large alone is seen to later
    full_ = files_.size() == count_ || rootOfFiles_ != root_ || !fits;
    if (full_) return;
    room_ -= std::min(room_, size);
    files_.push_back(std::move(value));
  }

  void beginFiles() {
    rootOfFiles_ = root_;
    Dictionary rest = answerWith({}, *root_, largestNumber);
    rest["Next"] = largestNumber;
    room_ = largestDatagram - std::min(largestDatagram, replySize(server_.daemon, rest));
  }

  const ServerState &server_;
  const std::size_t offset_;    // files to pass over
  const std::size_t count_;     // files at most
  const std::string *root_;     // of the tree that is walked
  std::size_t prefixSize_ = 0;  // bytes of a path before the part that is relative to root_
  const std::string *rootOfFiles_;
  const Clock::time_point deadline_ = Clock::now() + longestWalk;
  Array files_;            // relative to rootOfFiles_
  std::size_t room_ = 0;   // bytes left for files, once there is one
  std::size_t total_ = 0;  // files so far
  bool full_ = false;      // whether no more may be added
};

Dictionary pageFor(const Dictionary &request, const ServerState &server) {
  if (server.files.roots.empty()) throw BadRequest("This server serves no files.");
  Page page(request, server);
  _KtWalker walker;
  walker.setFileTypes(typesFor(request, server.files.types));
  walker.setDelegate(&page);
  for (const std::string &root : server.files.roots) {
    page.begin(root);
    walker.walkTree(root);
  }
  return page.answer();
}

}  // namespace

// Some of the files below the server's roots. No entry of the request is ever a path. Each request
// walks the trees: nothing is kept from one to the next, however many files there are and clients.
Dictionary answerFiles(const Dictionary &request, const ServerState &server) {
  try {
    return pageFor(request, server);
  } catch (const BadRequest &problem) {
    return {{"Error", problem.what()}};
  }
}

}  // namespace kt::tools

// SPDX-License-Identifier: MIT

#include <algorithm>
#include <chrono>
#include <limits>
#include <stdexcept>

#include "kt/foundation/Format.h"
#include "kt/udp/KtMessage.h"
#include "kt/walker/_KtWalker.h"
#include "tools/common/Arguments.h"
#include "tools/common/Paths.h"
#include "tools/common/Requests.h"
#include "tools/ktd/Kinds.h"
#include "tools/ktd/ReplySize.h"

namespace kt::tools {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t mostTypes = 100;  // of one request: each file is compared with each type
constexpr std::int32_t largestNumber = std::numeric_limits<std::int32_t>::max();

// ---- The request ----

// Says what is wrong with a request.
class BadRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::size_t numberIn(const Dictionary &request, const char *key, std::int32_t usual) {
  const PropertyList *value = request.find(key);
  const std::optional<std::int32_t> number =
      value != nullptr ? readInteger(*value, 0, largestNumber) : usual;
  if (!number) throw BadRequest(kt::format("%s is not a number from 0 up.", key));
  return static_cast<std::size_t>(*number);
}

std::vector<std::string> typesIn(const PropertyList &value) {
  const Array *array = value.asArray();
  const Array one = array == nullptr ? Array{value} : Array();
  std::vector<std::string> types;
  for (const PropertyList &type : array != nullptr ? *array : one) {
    std::optional<std::string> bytes = pathBytes(type);
    if (!bytes) throw BadRequest("Types is not an array of strings.");
    types.push_back(*std::move(bytes));
  }
  if (types.size() > mostTypes) throw BadRequest(kt::format("Types has more than %d.", mostTypes));
  return types;
}

// Returns the types to look for. If the request and the server both name types, these are the ones
// that both name; otherwise they are all types that either names.
std::vector<std::string> typesFor(const Dictionary &request,
                                  const std::vector<std::string> &named) {
  const PropertyList *value = request.find(typesKey);
  if (value == nullptr) return named;
  std::vector<std::string> types = typesIn(*value);
  if (!named.empty()) {
    std::erase_if(types, [&](const std::string &type) {
      return std::find(named.begin(), named.end(), type) == named.end();
    });
  }
  return types;
}

// ---- The page ----

// The walker's delegate: counts all files and keeps those of one page. A page ends at the request's
// count, at the datagram's size or at the end of its root.
class Page {
 public:
  Page(const Dictionary &request, const WorkState &work)
      : work_(work),
        offset_(numberIn(request, offsetKey, 0)),
        count_(numberIn(request, countKey, largestNumber)),
        root_(&work.service.files.roots.front()),
        rootOfFiles_(root_),
        deadline_(Clock::now() + work.service.files.longestWalk) {}

  // Begins the walk of `root`: the files found from here on are below it.
  void begin(const std::string &root) {
    root_ = &root;
    prefixSize_ = joined(root, "").size();
  }

  bool fileFound(const std::string &path) {
    if (path == *root_) return true;  // the root is not below itself
    if (total_++ >= offset_ && !full_) add(std::string_view(path).substr(prefixSize_));
    return true;
  }

  // A cycle of links may never end.
  bool wantsAbort() {
    if (work_.stop.stop_requested()) throw Stopped();
    if (Clock::now() < deadline_) return false;
    throw BadRequest("The files are too many to be listed in time.");
  }

  [[nodiscard]] Dictionary answer() const {
    Dictionary answer = answerWith(files_, *rootOfFiles_, total_);
    const std::size_t next = offset_ + files_.size();
    if (next < total_) answer[nextKey] = next;
    return answer;
  }

 private:
  static Dictionary answerWith(const Array &files, const std::string &root, std::size_t total) {
    return {{filesKey, files}, {rootKey, pathValue(root)}, {totalKey, total}};
  }

  void add(std::string_view name) {
    if (files_.empty()) beginFiles();
    PropertyList value = pathValue(name);
    const std::size_t size = value.description().size() + std::string_view(", ").size();
    // The first file is always added; if it alone is too large, Dispatcher replaces the answer.
    const bool fits = files_.empty() || size <= room_;
    full_ = files_.size() == count_ || rootOfFiles_ != root_ || !fits;
    if (full_) return;
    room_ -= std::min(room_, size);
    files_.push_back(std::move(value));
  }

  void beginFiles() {
    rootOfFiles_ = root_;
    Dictionary rest = answerWith({}, *root_, largestNumber);
    rest[nextKey] = largestNumber;
    room_ = largestDatagram - std::min(largestDatagram, replySize(work_.signature, rest));
  }

  const WorkState &work_;
  const std::size_t offset_;          // files to skip
  const std::size_t count_;           // the most files to add
  const std::string *root_;           // of the tree that is walked
  std::size_t prefixSize_ = 0;        // bytes of a path before the part that is relative to root_
  const std::string *rootOfFiles_;    // the root of all files in files_
  const Clock::time_point deadline_;  // when the walk is given up
  Array files_;                       // relative to rootOfFiles_
  std::size_t room_ = 0;              // bytes left for files, once files_ has one
  std::size_t total_ = 0;             // files found so far
  bool full_ = false;                 // whether no more may be added
};

Dictionary pageFor(const Dictionary &request, const WorkState &work) {
  const ServedFiles &served = work.service.files;
  if (served.roots.empty()) throw BadRequest("This server serves no files.");
  Page page(request, work);
  _KtWalker walker;
  walker.setFileTypes(typesFor(request, served.types));
  walker.setDelegate(&page);
  for (const std::string &root : served.roots) {
    page.begin(root);
    walker.walkTree(root);
  }
  return page.answer();
}

}  // namespace

// Returns a page of the files below the server's roots. No entry of a request is ever a path. Each
// request walks the trees again: nothing is kept between requests, however many files or clients
// there are.
Dictionary answerFiles(const Dictionary &request, const WorkState &work) {
  try {
    return pageFor(request, work);
  } catch (const BadRequest &problem) {
    return {{errorKey, problem.what()}};
  }
}

}  // namespace kt::tools

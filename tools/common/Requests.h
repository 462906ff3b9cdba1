// SPDX-License-Identifier: MIT

// The vocabulary of ktd's requests and answers: the kinds and the keys, for both ends.
// docs/programs.md describes each kind.
#ifndef KT_TOOLS_COMMON_REQUESTS_H
#define KT_TOOLS_COMMON_REQUESTS_H

namespace kt::tools {

// The kinds of requests, each the keyword of its data packets.
inline constexpr const char *echoKind = "Echo";
inline constexpr const char *evaluateKind = "Evaluate";
inline constexpr const char *filesKind = "Files";
inline constexpr const char *kindsKind = "Kinds";
inline constexpr const char *statusKind = "Status";

// Any answer: why the request has no other, a sentence for people.
inline constexpr const char *errorKey = "Error";

// Any answer with an `Error`: the token that the request is to be repeated with. In the request:
// that token.
inline constexpr const char *tokenKey = "Token";

// Errors that are not sentences: the server has no worker for the request, or is about to end.
inline constexpr const char *busyError = "busy";
inline constexpr const char *stoppingError = "stopping";

// Kinds, answer: a dictionary with a sentence for each kind that the server answers.
inline constexpr const char *kindsKey = "Kinds";

// Echo, as kt ping sends it: the number of the round trip, from 1.
inline constexpr const char *sequenceKey = "Sequence";

// Evaluate: the expression and the base of its value in the request, the value in the answer. With
// an error comes the column, from 1, at which the expression is wrong.
inline constexpr const char *expressionKey = "Expression";
inline constexpr const char *baseKey = "Base";
inline constexpr const char *valueKey = "Value";
inline constexpr const char *columnKey = "Column";

// Files, request: the extensions to look for, the number of files to skip, and the most files that
// the answer may have.
inline constexpr const char *typesKey = "Types";
inline constexpr const char *offsetKey = "Offset";
inline constexpr const char *countKey = "Count";

// Files, answer: paths relative to the root, the root, the number of files on all pages, and the
// offset of the next page, which the last page lacks.
inline constexpr const char *filesKey = "Files";
inline constexpr const char *rootKey = "Root";
inline constexpr const char *totalKey = "Total";
inline constexpr const char *nextKey = "Next";

// Handlers, answer: what the program printed if that is not a JSON object. With an error: the
// program's exit status, and the first line of its standard error.
inline constexpr const char *outputKey = "Output";
inline constexpr const char *exitStatusKey = "Status";

// Status, answer: the toolkit's version, the seconds since the server started, the numbers of
// earlier datagrams answered and not answered, the numbers of requests in work, in the queue and
// refused as busy, and the server's signature and port. `Kinds` has a dictionary for each kind that
// was asked: the number of its requests and their durations in microseconds.
inline constexpr const char *versionKey = "Version";
inline constexpr const char *uptimeKey = "Uptime";
inline constexpr const char *servedKey = "Served";
inline constexpr const char *refusedKey = "Refused";
inline constexpr const char *workingKey = "Working";
inline constexpr const char *queuedKey = "Queued";
inline constexpr const char *busyKey = "Busy";
inline constexpr const char *servedSignatureKey = "Signature";
inline constexpr const char *servedPortKey = "Port";
inline constexpr const char *requestsKey = "Requests";
inline constexpr const char *medianKey = "MedianUs";
inline constexpr const char *p99Key = "P99Us";

}  // namespace kt::tools

#endif

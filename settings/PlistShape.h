#pragma once
// A look at a property list's bytes before libplist parses them: how deep its arrays and
// dictionaries nest and how many values it unfolds into. libplist builds, copies, writes and
// frees its trees by recursion, and a binary list may refer to one object from many places
// (each reference is parsed anew), so a small file can nest deeper than the stack allows or
// unfold into more values than memory holds. The look itself walks the bytes without recursion.

#include <QByteArray>
#include <QString>
#include <cstdint>

namespace orvella::settings::plist {

// How deep containers may nest (the root dictionary counts as one level). Preferences nest six
// levels at most; libplist's recursion at this depth takes well under a megabyte of stack.
inline constexpr int kMaxDepth = 512;
// How many values (containers included) a file may unfold into. Preferences hold a few thousand.
inline constexpr int64_t kMaxValues = int64_t{1} << 18;
// The largest file read at all, in bytes.
inline constexpr qsizetype kMaxBytes = qsizetype{8} << 20;

// Why `bytes` must not be handed to libplist, or an empty string when they may be. The look
// follows libplist's own reading of the bytes up to the point where libplist would give up, so
// it never counts fewer levels than libplist would build; a file libplist would refuse anyway
// may be refused here first.
QString shapeProblem(const QByteArray& bytes);

}  // namespace orvella::settings::plist

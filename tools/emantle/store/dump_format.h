#pragma once

namespace tool {

/* The first line of a dump has this key with the version, and "modified", the time of the root. Lines {"design"} follow in the
 * order of the dictionary, then the entries below the root, depth first, in the form of contentJson. */
inline constexpr char kDumpVersionKey[] = "emantle-dump";
inline constexpr int kDumpVersion = 1;

}  // namespace tool

// Files that get a new content as a whole.
#pragma once

#include <string>
#include <string_view>

namespace ods {

/// Replaces the content of a file in one step (written beside it, then renamed over it), mode 0600.
/// Raises error 1000 naming the path.
void WriteFileAtomically(const std::string& path, std::string_view text);

/// Writes over the content of a file and cuts off what is left behind it. The file stays the same one, which takes much
/// less than a new one; a reader may see a part. Raises error 1000 naming the path.
void OverwriteFile(const std::string& path, std::string_view text);

/// The same as `WriteFileAtomically` for a file that others share. A new one gets the mode `newFileMode`; an existing
/// one keeps its owner, its group, its mode and its access list, and where `path` is a link the file that it leads to
/// is meant. A file that cannot be replaced so (its folder may not be written, its owner cannot be kept, it has a
/// second name) is written in place, for which a reader may see a part. A device, a pipe or a socket is written to and
/// never waited for: a pipe or socket that nobody reads, or that is full, is a failure. Raises error 1000 naming the
/// path.
void ReplaceFile(const std::string& path, std::string_view text, unsigned newFileMode);

}  // namespace ods

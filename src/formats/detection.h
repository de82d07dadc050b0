#pragma once
// Which row of the format table a file belongs to, by its first bytes and its extension.

#include "base/byte_source.h"
#include "formats/format_table.h"

namespace tervo {

struct Detection {
  FormatIndex index = noFormat;  ///< noFormat, with "File is of zero size", for a file without bytes
  int confidence = 0;            ///< percent; 0 when only row 0 takes the file
};

/// Scores the file against every row that can be read. Any thread.
Detection DetectFormat(TextView fileName, const ByteSource& file);

/// For a file that only row 0 takes: the first row of its extension that the table knows and no codec reads yet;
/// noFormat when there is none.
FormatIndex knownButUnread(TextView fileName);
/// "known, but not readable yet: Standard MIDI"; empty when knownButUnread() finds nothing.
Text knownButUnreadNote(TextView fileName);

}  // namespace tervo

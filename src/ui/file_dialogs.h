#pragma once
// Which file to open, and in which format to save which file.

#include <QString>
#include <optional>
#include <span>

#include "core/collection.h"
#include "formats/format_table.h"

class QWidget;

namespace tervo::ui {

/// Several files; empty when the user thinks better of it. While choosing, the dialog says what a file is taken for
/// and how surely ("File format:", "Confidence:").
std::vector<Text> chooseFilesToOpen(QWidget* parent, const QString& title, Settings& settings);

struct SaveChoice {
  Text path;
  FormatIndex row = noFormat;
};
/// Rows that can hold an item of the kind, the one used last chosen, else that of the source if it is among them. The
/// dialog asks before replacing a file.
std::optional<SaveChoice> chooseFileToSave(QWidget* parent, const QString& title, ItemKind kind, const QString& name,
                                           Settings& settings, FormatIndex source = noFormat);

/// Rows with a writer that hold the kind, songs among those that hold waveforms, as they can be rendered.
std::vector<FormatIndex> rowsToSave(ItemKind kind);
/// "wav - RIFF-WAVE".
QString formatTitle(FormatIndex row);

}  // namespace tervo::ui

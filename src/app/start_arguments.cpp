#include "app/start_arguments.h"

namespace tervo {
namespace {

bool containsNoCase(TextView text, TextView part) {
  for (std::size_t i = 0; i + part.size() <= text.size(); ++i) {
    if (equalNoCase(text.substr(i, part.size()), part)) return true;
  }
  return false;
}

}  // namespace

Argument kindOf(TextView argument, const std::function<bool(TextView)>& isFile) {
  if (containsNoCase(argument, u".exe")) return Argument::ignored;
  const bool isSlashed = argument.starts_with(u'/');
  // No switch has another slash: that a file is not there has to be said.
  const bool isPath = isSlashed && (argument.find(u'/', 1) != Text::npos || isFile(argument));
  if (isPath || !(isSlashed || argument.starts_with(u'-'))) return Argument::file;
  const TextView name = argument.substr(1);
  if (equalNoCase(name, u"BATCH")) return Argument::batch;
  if (equalNoCase(name, u"NOMSG")) return Argument::noBoxes;
  if (equalNoCase(argument, u"--new-window")) return Argument::newWindow;
  return Argument::ignored;
}

StartArguments readArguments(const std::vector<Text>& arguments, const std::function<bool(TextView)>& isFile) {
  StartArguments start;
  for (const Text& argument : arguments) {
    const Argument kind = kindOf(argument, isFile);
    if (kind == Argument::file) start.files.push_back(argument);
    if (start.runsBatch) continue;
    if (kind == Argument::batch) start.runsBatch = true;
    if (kind == Argument::noBoxes) start.showsBoxes = false;
    if (kind == Argument::newWindow) start.wantsNewWindow = true;
  }
  return start;
}

}  // namespace tervo

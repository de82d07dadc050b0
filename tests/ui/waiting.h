#pragma once
// Waiting for what comes through the event loop.

#include <QTest>

namespace tervo::ui {

/// Handles events until it is so, at most for some 20 s in which this process runs. QTest::qWaitFor() goes by the clock
/// and gives up at once when the process was stopped for so long.
template <typename Condition>
bool waitUntil(Condition isSo) {
  for (int left = 2000; left > 0 && !isSo(); --left) QTest::qWait(10);
  return isSo();
}

}  // namespace tervo::ui

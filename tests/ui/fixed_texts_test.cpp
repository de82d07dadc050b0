// The texts that are laid down for the window stand in one list, beside this test, one a line as they are written in
// the source; each of them is a literal there. What shows them where is driven by the other tests.

#include <gtest/gtest.h>

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

namespace tervo::ui {
namespace {

QString contentOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// All literals, those that go on in the next line put together.
QString literals(const QString& folder) {
  static const QRegularExpression goesOn("\"\\s*u?\"");
  QString all;
  QDirIterator files(folder, {"*.cpp", "*.h"}, QDir::Files, QDirIterator::Subdirectories);
  while (files.hasNext()) all += contentOf(files.next()).remove(goesOn);
  return all;
}

TEST(FixedTexts, EachIsALiteralOfTheSource) {
  const QString tests = QStringLiteral(QT_TESTCASE_SOURCEDIR);
  const QString source = literals(tests + "/../src");
  ASSERT_FALSE(source.isEmpty());
  int checked = 0;
  for (const QString& text : contentOf(tests + "/ui/fixed_texts.txt").split('\n')) {
    if (text.isEmpty()) continue;
    EXPECT_TRUE(source.contains('"' + text + '"')) << text.toStdString();
    ++checked;
  }
  EXPECT_GT(checked, 70);
}

}  // namespace
}  // namespace tervo::ui

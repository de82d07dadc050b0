#pragma once
// The world as the window sees it: the status line, a progress window with Cancel, questions in message boxes.

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QWidget>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include "core/host.h"
#include "core/waveform.h"

namespace tervo::ui {

class ProgressWindow;

class WindowHost final : public QObject, public Host {
  Q_OBJECT
 public:
  WindowHost();
  ~WindowHost() override;

  /// Message boxes and the progress window stand before this window.
  void setWindow(QWidget* window) { window_ = window; }

  /// While it lives, one long operation runs: its progress shows in a window once it has taken a moment.
  class Operation {
   public:
    explicit Operation(WindowHost& host) : host_(host) { ++host_.operations_; }
    ~Operation() { host_.endOperation(); }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

   private:
    WindowHost& host_;
  };
  [[nodiscard]] Operation beginOperation();
  /// Nobody is asked: every question has its safe answer, and files stay missing.
  void setQuiet(bool quiet) { isQuiet_ = quiet; }
  bool isQuiet() const { return isQuiet_; }
  bool isBusy() const { return operations_ > 0; }
  bool cancelled() const { return cancelled_; }

  void showStatus(TextView text) override;
  bool progress(double fraction) override;
  std::size_t ask(const Question& question) override;
  std::optional<Text> locateFile(const FileRequest& request) override;
  std::vector<std::unique_ptr<Waveform>> render(const Item& item) override;

  /// Runs a rendering of which the user has to confirm that it is to be stopped.
  void renderStoppably(const std::function<void()>& run);

  using Renderer = std::function<std::vector<std::unique_ptr<Waveform>>(const Item&)>;
  void setRenderer(Renderer renderer) { renderer_ = std::move(renderer); }

 Q_SIGNALS:
  void statusShown(const QString& text);

 private:
  void endOperation();
  void showProgress(double fraction);
  /// Whether the user means it: what was rendered so far is lost.
  bool cancel();

  QPointer<QWidget> window_;
  std::unique_ptr<ProgressWindow> progressWindow_;
  QElapsedTimer sinceBegin_, sinceShown_;
  QString status_;
  Renderer renderer_;
  int operations_ = 0;
  bool isRendering_ = false;
  bool isQuiet_ = false;
  std::atomic<bool> cancelled_{false};
};

}  // namespace tervo::ui

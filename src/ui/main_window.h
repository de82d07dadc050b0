#pragma once
// The main window: menus and tool bar, the tree and the list, the panes for what is selected, the status line.

#include <QMainWindow>
#include <memory>

#include "ui/document_session.h"

class QDialog;
class QLabel;
class QMenu;
class QSplitter;
class QTabWidget;

namespace tervo::ui {

class CollectionTree;
class EditCommands;
class ExternalEditor;
class GraphicPane;
class HelpKey;
class KeyboardView;
class Player;
class PropertyPane;
class SongPane;
class SourcePane;
class WaveformList;
class WaveformPane;

class MainWindow final : public QMainWindow {
  Q_OBJECT
 public:
  MainWindow(DocumentSession& session, Player& player);
  ~MainWindow() override;

  /// Opens the first file in place of the document and merges the others. Failures show in message boxes, unless the
  /// user switched them off.
  void openFiles(const std::vector<Text>& paths, OpenMode mode, RawFallback fallback = RawFallback::refused);
  /// In the tree, or in the list where they are waveforms.
  void selectItems(const std::vector<ItemId>& items);
  /// The title, and the menu's auditioning state.
  void refreshState();
  /// From another start of the program: comes forward, and asks what to do with them. Waits while something runs.
  void takeFiles(const std::vector<Text>& paths);
  /// Without them failures stand in the status line, and questions have their safe answers.
  void setMessageBoxesAllowed(bool allowed);
  void showFailure(const QString& what);
  enum class Confirming : uint8_t { asSet, always };
  /// Asks before loaded data are lost, always or where the settings want that. True to go on.
  bool confirmDiscarding(Confirming when = Confirming::asSet);
  /// What the commands work on: what is selected where the focus was last, else the whole collection.
  const std::vector<ItemId>& chosenItems() const { return chosen_; }

  DocumentSession& session() { return session_; }
  CollectionTree& tree() { return *tree_; }
  WaveformList& list() { return *list_; }
  EditCommands& edit() { return *edit_; }
  KeyboardView& keyboard() { return *keyboard_; }
  PropertyPane& properties() { return *properties_; }
  WaveformPane& waveform() { return *waveform_; }
  HelpKey& help() { return *help_; }
  GraphicPane& graphics() { return *graphics_; }
  SongPane& song() { return *song_; }
  SourcePane& source() { return *source_; }
  QTabWidget& tabs() { return *tabs_; }

 protected:
  bool event(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void buildPanes();
  void buildMenus();
  void buildFileMenu();
  void buildEditMenu();
  void buildWaveformMenu();
  void buildProcessMenu();
  void buildSoundMenu();
  void buildHelpMenu();
  void buildToolBar();
  void connectSession();
  void choose(const std::vector<ItemId>& items);
  /// The selection that commands work on looks like one; the other is pale.
  void showActiveList();
  /// What is selected in the tree or in the list counts as soon as the focus comes there.
  void showReport(QDialog* report);
  void followFocus(const QWidget* focus);
  void openChosen(OpenMode mode, const QString& title);
  void save(const std::vector<ItemId>& items);
  void showStates(QMenu& menu);
  void editPreferences();
  void process(const Operation* operation);
  void playOrStop();
  /// The page on which the layout of raw data is changed, for the newest waveform.
  void selectNewest();
  void showSource();
  void importRaw();
  void showPlaying(bool playing);
  /// Into the document as a waveform, as the settings want it.
  void renderSong();
  void sendSong();
  /// Asks whether they replace what is loaded or join it, where there is something.
  void openWhenFree(const std::vector<Text>& paths);
  void openAsUserWants(const std::vector<Text>& paths);
  /// Keys that the chosen instrument answers to.
  void showPlayableKeys();
  void showRecentFiles();
  void restoreGeometryFromSettings();
  void rememberGeometry();

  DocumentSession& session_;
  Player& player_;
  bool messageBoxesAllowed_ = true;
  std::vector<ItemId> chosen_;
  bool activeList_ = false;  ///< the list of waveforms, not the tree, was chosen from last
  CollectionTree* tree_;
  WaveformList* list_;
  PropertyPane* properties_;
  GraphicPane* graphics_;
  SongPane* song_;
  SourcePane* source_;
  WaveformPane* waveform_;
  QSplitter* across_;
  QTabWidget* tabs_;
  KeyboardView* keyboard_ = nullptr;
  QLabel* status_;
  QLabel* engineStatus_;
  QMenu* recent_;
  EditCommands* edit_;
  ExternalEditor* external_;
  HelpKey* help_;
  QAction* open_;
  QAction* save_;
  QAction* saveSelected_;
  QAction* undo_;
  QAction* redo_;
  QAction* audition_;
  QAction* play_ = nullptr;
};

}  // namespace tervo::ui

#pragma once
// The "QVgraph Settings" window: a thin Qt face over TQVgraphDlgForm. Every user event
// goes to the form, which writes into the attached graph; the controls are then reloaded
// from the form.
#include <QDialog>
#include <functional>
#include <utility>
#include <vector>

#include "app/GraphDialog.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

class GraphSettingsDialog : public QDialog {
  Q_OBJECT
 public:
  GraphSettingsDialog(TQVgraphDlgForm& form, QWidget* parent = nullptr);
  ~GraphSettingsDialog() override;

  // Loads every control from the form without sending events back to it.
  void Refresh();

  void done(int result) override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct SeriesRow {
    QLabel* number = nullptr;
    QCheckBox* show = nullptr;
    QComboBox* style = nullptr;
    QCheckBox* rightAxis = nullptr;
    QPushButton* color = nullptr;
    QComboBox* width = nullptr;
    QComboBox* size = nullptr;
  };

  QWidget* MakeAxisPage();
  QWidget* MakeGraphsPage();
  QPushButton* MakeColorButton(const QString& name, std::function<TColor()> current,
                               std::function<void(TColor)> change);
  // Enter and Esc of an edit, and leaving it; true when the key was used up.
  bool EditEvent(QEvent* event, const std::function<void()>& enter,
                 const std::function<void()>& escape, const std::function<void()>& leave);

  TQVgraphDlgForm& form_;
  QLineEdit* axisEdits_[3][3] = {};
  QLineEdit* fontSize_ = nullptr;
  QButtonGroup* tickGroups_[3] = {};
  SeriesRow rows_[TQVgraphDlgForm::kRows + 1];
  // Each colour button with the colour it shows.
  std::vector<std::pair<QPushButton*, std::function<TColor()>>> colorButtons_;
  // Set while closing: a focus change then takes nothing.
  bool closing_ = false;
};

// BGR colours to Qt and back.
QColor QColorOf(TColor color);
TColor TColorOf(const QColor& color);

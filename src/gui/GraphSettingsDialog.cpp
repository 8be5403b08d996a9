#include "gui/GraphSettingsDialog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QFocusEvent>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QVBoxLayout>

namespace T = GraphDialogTexts;

namespace {

const char* const kAxisNames[3] = {"X", "Y0", "Y1"};
const char* const kFieldNames[3] = {"First", "Last", "Tick"};

QStringList Words(const char* header) {
  // Column titles are separated by two blanks or more.
  QStringList words = QString(header).split(QRegularExpression("\\s{2,}"), Qt::SkipEmptyParts);
  for (QString& word : words) word = word.trimmed();
  return words;
}

void ShowText(QLineEdit* edit, const TQVgraphDlgForm::EditState& state) {
  const QSignalBlocker block(edit);
  const QString text = QString::fromStdString(state.Text);
  if (edit->text() != text) edit->setText(text);
  QPalette palette = edit->palette();
  const QColor color = state.Red ? QColor(Qt::red) : QColor(Qt::black);
  if (palette.color(QPalette::Text) != color) {
    palette.setColor(QPalette::Text, color);
    edit->setPalette(palette);
  }
}

void ShowComboText(QComboBox* combo, const std::string& text) {
  const QSignalBlocker block(combo);
  const QString value = QString::fromStdString(text);
  const int index = combo->findText(value);
  if (index >= 0 && combo->currentIndex() != index) combo->setCurrentIndex(index);
  if (combo->currentText() != value) combo->setEditText(value);
}

QComboBox* MakeCombo(const QString& name, const char* const* items, int count, bool editable) {
  auto* combo = new QComboBox;
  combo->setObjectName(name);
  combo->setEditable(editable);
  for (int i = 0; i < count; ++i) combo->addItem(items[i]);
  return combo;
}

}  // namespace

QColor QColorOf(TColor color) {
  return QColor(color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF);
}

TColor TColorOf(const QColor& color) {
  return static_cast<TColor>(color.red()) | static_cast<TColor>(color.green()) << 8 |
         static_cast<TColor>(color.blue()) << 16;
}

GraphSettingsDialog::GraphSettingsDialog(TQVgraphDlgForm& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setWindowTitle(T::kCaption);
  // A tool window over the other windows, as the dialog has always been.
  setWindowFlags(Qt::Tool | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                 Qt::WindowStaysOnTopHint);
  auto* tabs = new QTabWidget;
  tabs->addTab(MakeAxisPage(), T::kAxisPage);
  tabs->addTab(MakeGraphsPage(), T::kGraphsPage);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(tabs);
  Refresh();
}

GraphSettingsDialog::~GraphSettingsDialog() { closing_ = true; }

void GraphSettingsDialog::done(int result) {
  // Closing moves the focus away from the edits; that must not take a half-typed value.
  closing_ = true;
  QDialog::done(result);
}

QPushButton* GraphSettingsDialog::MakeColorButton(const QString& name,
                                                  std::function<TColor()> current,
                                                  std::function<void(TColor)> change) {
  auto* button = new QPushButton;
  button->setObjectName(name);
  button->setAutoDefault(false);
  button->setIconSize(QSize(40, 14));
  connect(button, &QPushButton::clicked, this, [this, current, change] {
    const QColor chosen = QColorDialog::getColor(QColorOf(current()), this);
    if (!chosen.isValid()) return;
    change(TColorOf(chosen));
    Refresh();
  });
  colorButtons_.emplace_back(button, std::move(current));
  return button;
}

QWidget* GraphSettingsDialog::MakeAxisPage() {
  auto* page = new QWidget;
  auto* axes = new QHBoxLayout;
  for (int axis = AxisX; axis <= AxisY1; ++axis) {
    auto* group = new QGroupBox(T::kAxisGroups[axis]);
    auto* form = new QFormLayout;
    for (int field = FirstVal; field <= TickDist; ++field) {
      auto* edit = new QLineEdit;
      edit->setObjectName(QString("%1%2Edit").arg(kAxisNames[axis], kFieldNames[field]));
      edit->setMinimumWidth(130);
      edit->installEventFilter(this);
      connect(edit, &QLineEdit::textEdited, this, [this, axis, field](const QString& text) {
        form_.AxisTextChanged(axis, field, text.toStdString());
        Refresh();
      });
      axisEdits_[axis][field] = edit;
      form->addRow(T::kEditLabels[field], edit);
    }
    auto* tickBox = new QGroupBox(T::kTickLine);
    auto* tickLayout = new QVBoxLayout(tickBox);
    tickGroups_[axis] = new QButtonGroup(tickBox);
    for (int type = 0; type < 4; ++type) {
      auto* radio = new QRadioButton(T::kTickLineItems[type]);
      radio->setObjectName(QString("%1Tick%2").arg(kAxisNames[axis], T::kTickLineItems[type]));
      tickGroups_[axis]->addButton(radio, type);
      tickLayout->addWidget(radio);
    }
    connect(tickGroups_[axis], &QButtonGroup::idClicked, this, [this, axis](int type) {
      form_.TickLineClick(axis, type);
      Refresh();
    });
    form->addRow(tickBox);
    form->addRow(MakeColorButton(
        QString("%1ColorBox").arg(kAxisNames[axis]), [this, axis] { return form_.AxisColor(axis); },
        [this, axis](TColor color) { form_.AxisColorChange(axis, color); }));
    group->setLayout(form);
    axes->addWidget(group);
  }

  auto* bottom = new QHBoxLayout;
  bottom->addWidget(new QLabel(T::kPanelColor));
  bottom->addWidget(MakeColorButton(
      "PanelColorBox", [this] { return form_.PanelColor(); },
      [this](TColor color) { form_.PanelColorChange(color); }));
  bottom->addSpacing(16);
  bottom->addWidget(new QLabel(T::kNotesColor));
  bottom->addWidget(MakeColorButton(
      "NotesColorBox", [this] { return form_.NotesColor(); },
      [this](TColor color) { form_.NotesColorChange(color); }));
  bottom->addSpacing(16);
  bottom->addWidget(new QLabel(T::kFontSize));
  fontSize_ = new QLineEdit;
  fontSize_->setObjectName("FontSizeEdit");
  fontSize_->setMaximumWidth(60);
  fontSize_->installEventFilter(this);
  connect(fontSize_, &QLineEdit::textEdited, this, [this](const QString& text) {
    form_.FontSizeTextChanged(text.toStdString());
    Refresh();
  });
  bottom->addWidget(fontSize_);
  bottom->addStretch();

  auto* layout = new QVBoxLayout(page);
  layout->addLayout(axes);
  layout->addLayout(bottom);
  layout->addStretch();
  return page;
}

QWidget* GraphSettingsDialog::MakeGraphsPage() {
  auto* page = new QWidget;
  auto* grid = new QGridLayout(page);
  // The two header lines, split into the titles of their columns.
  const QStringList top = Words(T::kHeaderTop);
  const QStringList bottom = Words(T::kHeaderBottom);
  for (int column = 0; column < top.size(); ++column) {
    QString title = top[column];
    const int below = column - (top.size() - bottom.size());
    if (below >= 0 && below < bottom.size()) title += "\n" + bottom[below];
    grid->addWidget(new QLabel(title), 0, column, Qt::AlignBottom);
  }
  for (int k = 1; k <= TQVgraphDlgForm::kRows; ++k) {
    SeriesRow& row = rows_[k];
    const QString n = QString::number(k);
    row.number = new QLabel(n);
    row.show = new QCheckBox;
    row.show->setObjectName("ShowChBox" + n);
    row.style = MakeCombo("GrTpComBox" + n, T::kStyleItems, 7, false);
    row.rightAxis = new QCheckBox;
    row.rightAxis->setObjectName("Y1ChBox" + n);
    row.color = MakeColorButton(
        "ColorBox" + n, [this, k] { return form_.RowColor(k); },
        [this, k](TColor color) { form_.SeriesColorChange(k, color); });
    row.width = MakeCombo("WidthComBox" + n, T::kWidthItems, 9, true);
    row.size = MakeCombo("SzComBox" + n, T::kSizeItems, 9, true);

    connect(row.show, &QCheckBox::clicked, this, [this, k](bool checked) {
      form_.ShowClick(k, checked);
      Refresh();
    });
    connect(row.style, &QComboBox::currentIndexChanged, this, [this, k](int index) {
      form_.StyleChange(k, index);
      Refresh();
    });
    connect(row.rightAxis, &QCheckBox::clicked, this, [this, k](bool checked) {
      form_.RightAxisClick(k, checked);
      Refresh();
    });
    connect(row.width, &QComboBox::currentTextChanged, this, [this, k](const QString& text) {
      form_.WidthChange(k, text.toStdString());
      Refresh();
    });
    connect(row.size, &QComboBox::currentTextChanged, this, [this, k](const QString& text) {
      form_.SizeChange(k, text.toStdString());
      Refresh();
    });

    QWidget* cells[7] = {row.number, row.show, row.style, row.rightAxis, row.color, row.width, row.size};
    for (int column = 0; column < 7; ++column) grid->addWidget(cells[column], k, column);
  }
  grid->setRowStretch(TQVgraphDlgForm::kRows + 1, 1);
  return page;
}

void GraphSettingsDialog::Refresh() {
  for (int axis = AxisX; axis <= AxisY1; ++axis) {
    for (int field = FirstVal; field <= TickDist; ++field)
      ShowText(axisEdits_[axis][field], form_.AxisEdit[axis][field]);
    const QSignalBlocker block(tickGroups_[axis]);
    if (QAbstractButton* radio = tickGroups_[axis]->button(form_.TickType(axis)))
      radio->setChecked(true);
  }
  ShowText(fontSize_, form_.FontSizeEdit);
  for (auto& [button, current] : colorButtons_) {
    QPixmap swatch(button->iconSize());
    swatch.fill(QColorOf(current()));
    button->setIcon(swatch);
  }
  for (int k = 1; k <= TQVgraphDlgForm::kRows; ++k) {
    SeriesRow& row = rows_[k];
    const bool shown = form_.RowShown(k);
    for (QWidget* cell : {static_cast<QWidget*>(row.number), static_cast<QWidget*>(row.show),
                          static_cast<QWidget*>(row.style), static_cast<QWidget*>(row.rightAxis),
                          static_cast<QWidget*>(row.color), static_cast<QWidget*>(row.width),
                          static_cast<QWidget*>(row.size)})
      cell->setVisible(shown);
    {
      const QSignalBlocker a(row.show), b(row.rightAxis), c(row.style);
      row.show->setChecked(form_.RowShow(k));
      row.rightAxis->setChecked(form_.RowRightAxis(k));
      // Style 7 (Marks) has no item: the box then shows nothing.
      const int style = form_.RowStyle(k);
      row.style->setCurrentIndex(style >= 0 && style < row.style->count() ? style : -1);
    }
    ShowComboText(row.width, form_.RowWidthText(k));
    ShowComboText(row.size, form_.RowSizeText(k));
  }
}

bool GraphSettingsDialog::EditEvent(QEvent* event, const std::function<void()>& enter,
                                    const std::function<void()>& escape,
                                    const std::function<void()>& leave) {
  if (event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
      enter();
    } else if (key == Qt::Key_Escape) {
      escape();  // and the dialog stays open
    } else {
      return false;
    }
    Refresh();
    return true;
  }
  if (event->type() == QEvent::FocusOut) {
    // A message box or a pop-up taking the focus is not leaving the edit.
    const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
    if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) {
      leave();
      Refresh();
    }
  }
  return false;
}

bool GraphSettingsDialog::eventFilter(QObject* watched, QEvent* event) {
  if (closing_ || (event->type() != QEvent::KeyPress && event->type() != QEvent::FocusOut))
    return QDialog::eventFilter(watched, event);
  for (int axis = AxisX; axis <= AxisY1; ++axis)
    for (int field = FirstVal; field <= TickDist; ++field)
      if (watched == axisEdits_[axis][field])
        return EditEvent(
            event, [&] { form_.AxisKeyEnter(axis, field); },
            [&] { form_.AxisKeyEsc(axis, field); }, [&] { form_.AxisExit(axis, field); });
  if (watched == fontSize_)
    return EditEvent(
        event, [this] { form_.FontSizeKeyEnter(); }, [this] { form_.FontSizeKeyEsc(); },
        [this] { form_.FontSizeExit(); });
  return QDialog::eventFilter(watched, event);
}

#include "gui/QtPlatform.h"

#include <QApplication>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressDialog>

#include "gui/GraphSettingsDialog.h"
#include "plot/Canvas.h"

namespace {

QString ToQt(const std::string& text) { return QString::fromStdString(text); }

// "Description|*.ext", one pair per choice, becomes Qt's "Description (*.ext);;...".
QString QtFilter(const std::string& filter) {
  const QStringList parts = ToQt(filter).split('|');
  QStringList choices;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    QString description = parts[i];
    if (!description.contains(parts[i + 1])) description += " (" + parts[i + 1] + ")";
    choices << description;
  }
  return choices.isEmpty() ? ToQt(filter) : choices.join(";;");
}

QPrinter& SharedPrinter() {
  static QPrinter printer(QPrinter::HighResolution);
  return printer;
}

}  // namespace

void QtPlatform::ShowMessage(const std::string& text) {
  // Over a modal window (the graph settings dialog) when one is open, so it is not hidden.
  QWidget* owner = QApplication::activeModalWidget();
  QMessageBox::information(owner ? owner : parent_, QApplication::applicationDisplayName(),
                           ToQt(text));
}

std::optional<std::string> QtPlatform::InputQuery(const std::string& caption,
                                                  const std::string& prompt,
                                                  const std::string& defaultText) {
  bool ok = false;
  const QString text =
      QInputDialog::getText(parent_, ToQt(caption), ToQt(prompt), QLineEdit::Normal,
                            ToQt(defaultText), &ok);
  if (!ok) return std::nullopt;
  return text.toStdString();
}

std::vector<std::string> QtPlatform::OpenFileDialog(const FileDialog& dialog) {
  std::vector<std::string> paths;
  const QString title = ToQt(dialog.title);
  if (dialog.multiSelect) {
    for (const QString& path :
         QFileDialog::getOpenFileNames(parent_, title, QString(), QtFilter(dialog.filter)))
      paths.push_back(path.toStdString());
  } else {
    const QString path = QFileDialog::getOpenFileName(parent_, title, QString(), QtFilter(dialog.filter));
    if (!path.isEmpty()) paths.push_back(path.toStdString());
  }
  return paths;
}

std::optional<std::string> QtPlatform::SaveFileDialog(const FileDialog& dialog) {
  QFileDialog box(parent_, ToQt(dialog.title), QString(), QtFilter(dialog.filter));
  box.setAcceptMode(QFileDialog::AcceptSave);
  box.setDefaultSuffix(ToQt(dialog.defaultExt));
  // A name typed without extension takes the one of the format chosen in the filter.
  QObject::connect(&box, &QFileDialog::filterSelected, &box, [&box](const QString& chosen) {
    const qsizetype star = chosen.lastIndexOf("*.");
    if (star >= 0) box.setDefaultSuffix(chosen.mid(star + 2).section(')', 0, 0).section(' ', 0, 0));
  });
  if (!dialog.promptOverwrite) box.setOption(QFileDialog::DontConfirmOverwrite);
  if (box.exec() != QDialog::Accepted || box.selectedFiles().isEmpty()) return std::nullopt;
  return box.selectedFiles().front().toStdString();
}

std::optional<std::string> QtPlatform::SavePictureDialog(const FileDialog& dialog) {
  return SaveFileDialog(dialog);
}

bool QtPlatform::PrintDialog() {
  QPrintDialog dialog(&SharedPrinter(), parent_);
  printerChosen_ = dialog.exec() == QDialog::Accepted;
  return printerChosen_;
}

void QtPlatform::PrintBitmap(const Bitmap& picture, int zoom) {
  if (!printerChosen_) return;
  printerChosen_ = false;
  const int w = picture.Width(), h = picture.Height();
  QImage image(w, h, QImage::Format_RGB888);
  for (int y = 0; y < h; ++y) {
    uchar* line = image.scanLine(y);
    for (int x = 0; x < w; ++x) {
      const TColor c = picture.Pixel(x, y);
      line[3 * x] = c & 0xFF;
      line[3 * x + 1] = (c >> 8) & 0xFF;
      line[3 * x + 2] = (c >> 16) & 0xFF;
    }
  }
  // One picture pixel becomes zoom x zoom printer pixels at the page origin, no fitting.
  QPainter painter(&SharedPrinter());
  painter.drawImage(QRect(0, 0, w * zoom, h * zoom), image);
}

void QtPlatform::Beep() { QApplication::beep(); }

void QtPlatform::ShowGraphDialog(TQVgraphDlgForm& dialog) {
  GraphSettingsDialog window(dialog, parent_);
  window.exec();
}

bool QtPlatform::Progress(const std::string& what, double fraction, bool cancellable) {
  constexpr int kSteps = 1000;
  if (fraction <= 0) {
    delete progress_;
    progress_ = new QProgressDialog(ToQt(what), cancellable ? QString("Cancel") : QString(), 0,
                                    kSteps, parent_);
    progress_->setWindowModality(Qt::WindowModal);  // setValue then keeps the window painted
    progress_->setMinimumDuration(500);
    progress_->setAutoClose(false);
    progress_->setValue(0);
    return true;
  }
  if (!progress_) return true;
  if (fraction >= 1) {
    delete progress_;
    progress_ = nullptr;
    return true;
  }
  progress_->setValue(static_cast<int>(fraction * kSteps));
  return !progress_->wasCanceled();
}

// The one small dialog an import shows when its file does not give the pixel size or the
// frame interval.
#include <QDialog>
#include <QDialogButtonBox>
#include <QDoubleValidator>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>

#include "gui/QtPlatform.h"
#include "import/ImportTypes.h"

namespace {

QLineEdit* NumberEdit(QWidget* parent, const QString& text) {
  auto* edit = new QLineEdit(text, parent);
  auto* validator = new QDoubleValidator(0, 1e9, 12, edit);
  validator->setLocale(QLocale::c());  // "7.48", whatever the desktop's language
  edit->setValidator(validator);
  return edit;
}

}  // namespace

bool QtPlatform::AskCalibration(const std::string& file, CalibrationRequest& request) {
  QDialog dialog(parent_);
  dialog.setWindowTitle("Calibration");
  auto* form = new QFormLayout(&dialog);
  form->addRow(new QLabel(QFileInfo(QString::fromStdString(file)).fileName() +
                          " does not say:", &dialog));
  QLineEdit* pixel = request.needPixelSize ? NumberEdit(&dialog, "0.16") : nullptr;
  QLineEdit* interval = request.needFrameInterval ? NumberEdit(&dialog, "30") : nullptr;
  if (pixel) form->addRow("Pixel size (µm):", pixel);
  if (interval) form->addRow("Frame interval (ms):", interval);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
  QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  form->addRow(buttons);
  if (dialog.exec() != QDialog::Accepted) return false;
  if (pixel) request.pixelSizeUm = QLocale::c().toDouble(pixel->text());
  // ms to s by the exponent, so that 7.48 ms is the double nearest 0.00748 s.
  if (interval) request.frameIntervalS = QLocale::c().toDouble(interval->text() + "e-3");
  return true;
}

// SPDX-License-Identifier: MIT
// A Qt window with a text field that behaves, or misbehaves, as its arguments say.
//   QtFields [--area | --password] [--text TEXT] [--limit N] [--upper]
#include <QApplication>
#include <QCommandLineParser>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace {

QWidget* makeLine(const QCommandLineParser& wanted) {
  auto* const line = new QLineEdit(wanted.value("text"));
  if (wanted.isSet("password")) line->setEchoMode(QLineEdit::Password);
  if (wanted.isSet("limit")) line->setMaxLength(wanted.value("limit").toInt());
  if (wanted.isSet("upper")) {
    QObject::connect(line, &QLineEdit::textChanged, line,
                     [line](const QString& text) { line->setText(text.toUpper()); });
  }
  line->deselect();
  line->end(false);
  return line;
}

QWidget* makeArea(const QCommandLineParser& wanted) {
  auto* const area = new QPlainTextEdit(wanted.value("text"));
  area->moveCursor(QTextCursor::End);
  return area;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QCommandLineParser wanted;
  wanted.addOptions({{"area", ""}, {"password", ""}, {"upper", ""}, {"text", "", "text"}, {"limit", "", "limit"}});
  wanted.process(application);
  QWidget window;
  QVBoxLayout layout(&window);
  QWidget* const field = wanted.isSet("area") ? makeArea(wanted) : makeLine(wanted);
  layout.addWidget(field);
  layout.addWidget(new QLineEdit);
  window.show();
  field->setFocus(Qt::OtherFocusReason);
  return QApplication::exec();
}

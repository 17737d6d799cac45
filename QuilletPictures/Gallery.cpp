// SPDX-License-Identifier: MIT
#include "QuilletPictures/Gallery.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QSocketNotifier>
#include <cstdio>
#include <iostream>
#include <utility>

#include "QuilletPictures/Stage.h"

namespace quillet::pictures {

Gallery& Gallery::instance() {
  static Gallery gallery;
  return gallery;
}

Gallery::Gallery() {
  qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
    // Each front end chooses the renderer, which a program does once.
    if (text.startsWith("Scenegraph already initialized")) return;
    if (type != QtDebugMsg && type != QtInfoMsg) instance().complaints_ += text.toStdString() + '\n';
  });
}

void Gallery::setLook(const QString& name) {
  appearance_.set(
      {.isDark = name.startsWith("dark"), .hasHighContrast = name.endsWith("contrast"), .reducesMotion = true});
}

std::string Gallery::takeComplaints() {
  return std::exchange(complaints_, {});
}

int Gallery::paint(const QString& folder) {
  if (!QDir().mkpath(folder)) return 1;
  for (const auto& scene : scenes()) {
    Stage stage(look_);
    const auto file = folder + '/' + QString::fromStdString(scene.name) + ".png";
    if (!play(scene, stage).grabWindow().save(file)) {
      std::cerr << scene.name << " could not be painted\n";
      return 1;
    }
  }
  std::cerr << takeComplaints();
  return 0;
}

int Gallery::show() {
  for (const auto& scene : scenes()) {
    Stage stage(look_);
    play(scene, stage);
    std::cout << scene.name << std::endl;
    // The windows answer whoever reads them; the model rests meanwhile.
    QEventLoop reading;
    const QSocketNotifier asked(0, QSocketNotifier::Read);
    QObject::connect(&asked, &QSocketNotifier::activated, &reading, &QEventLoop::quit);
    reading.exec();
    std::string line;
    if (!std::getline(std::cin, line)) return 1;
  }
  return 0;
}

}  // namespace quillet::pictures

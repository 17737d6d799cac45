// SPDX-License-Identifier: MIT
#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "QuilletPictures/Gallery.h"
#include "QuilletPictures/Stage.h"

namespace {

constexpr const char* usage =
    "usage: quillet-pictures paint FOLDER LANGUAGE LOOK   a picture of each window in each state\n"
    "       quillet-pictures show LANGUAGE                one after another, for each line of the input\n";

int run(int argc, char** argv) {
  using namespace quillet::pictures;
  const std::string_view verb = argc > 1 ? argv[1] : "";
  if (verb == "paint" && argc == 5) {
    speak(argv[3]);
    Gallery::instance().setLook(argv[4]);
    return Gallery::instance().paint(argv[2]);
  }
  if (verb == "show" && argc == 3) {
    speak(argv[2]);
    return Gallery::instance().show();
  }
  std::fputs(usage, stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  setenv("TZ", "UTC", 1);  // or days in pictures and texts are others than those of the scenes
  QApplication application(argc, argv);
  QApplication::setApplicationName("Quillet");
  QApplication::setQuitOnLastWindowClosed(false);
  return run(argc, argv);
}

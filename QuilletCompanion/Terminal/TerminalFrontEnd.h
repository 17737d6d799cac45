// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/Terminal/TerminalDictation.h"
#include "QuilletCompanion/Terminal/TerminalEvents.h"
#include "QuilletCompanion/Terminal/TerminalOutput.h"
#include "QuilletCompanion/Terminal/TerminalPairing.h"

namespace quillet {

/// The line-oriented front of the program: commands come in as lines, events and answers go out as lines, for people or
/// as one JSON object each. Main thread only.
class TerminalFrontEnd {
 public:
  using Style = TerminalOutput::Style;
  /// `print` gets whole lines without the line feed. Answers that take time run on `mainThread`; they end with this.
  TerminalFrontEnd(AppModel& model, Executor mainThread, Style style, std::function<void(std::string)> print,
                   std::function<void()> quit);

  /// One line of input. What can't be done gets an answer that says why.
  void handleLine(std::string_view line);
  /// There will be no more lines: quits when everything asked for has been answered.
  void endOfInput();
  /// The user started the program once more, perhaps to see its windows, which are not here.
  void startedAgain() const;

 private:
  enum class Argument { none, optional, required };
  struct Command {
    std::string_view name, argumentName, help;
    Argument argument;
    void (TerminalFrontEnd::*run)(const std::string& argument);
  };
  static const std::vector<Command>& commands();

  template <typename Body>
  void background(Body body);
  void confirmed(const std::string& argument, const char* command, const std::string& question,
                 void (TerminalFrontEnd::*action)());

  void status(const std::string&);
  void pair(const std::string&) { pairing_.pair(); }
  void confirm(const std::string&) { pairing_.confirm(); }
  void cancel(const std::string&) { dictation_.isInProgress() ? dictation_.cancel() : pairing_.cancel(); }
  void dictation(const std::string& choice) { dictation_.enable(choice); }
  void dictate(const std::string&) { dictation_.dictate(); }
  void microphones(const std::string&) { dictation_.microphones(); }
  void microphone(const std::string& wanted) { dictation_.microphone(wanted); }
  void shortcut(const std::string& words) { dictation_.shortcut(words); }
  void language(const std::string& choice) { dictation_.language(choice); }
  void style(const std::string& choice) { dictation_.style(choice); }
  void streaming(const std::string& choice) { dictation_.streaming(choice); }
  void music(const std::string& choice) { dictation_.music(choice); }
  void recognizer(const std::string& words) { dictation_.recognizer(words); }
  void last(const std::string&) { dictation_.last(); }
  void peers(const std::string&);
  void rename(const std::string& name);
  void revoke(const std::string& wanted);
  void health(const std::string&);
  void retry(const std::string&);
  void accessibility(const std::string&);
  void login(const std::string& choice);
  void feedback(const std::string& text);
  void reset(const std::string& argument);
  void deleteData(const std::string& argument);
  void words(const std::string&);
  void restart(const std::string&);
  void version(const std::string&);
  void help(const std::string&);
  void quit(const std::string&) { quit_(); }
  void resetNow();
  void deleteNow();

  AppModel& model_;
  Executor mainThread_;
  TerminalOutput output_;
  std::function<void()> quit_;
  TerminalEvents events_;
  TerminalPairing pairing_;
  TerminalDictation dictation_;
  /// What a "yes" would start.
  void (TerminalFrontEnd::*questioned_)() = nullptr;
  std::list<Task> tasks_;
  int unanswered_ = 0;
  bool inputEnded_ = false;
};

}  // namespace quillet

// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/LinuxScreenLockMonitor.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace quillet {
namespace {

constexpr const char* logind = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

struct Question {
  const char* method;
  GVariantRef arguments;
};

/// How to ask for this process's session, best first. A program that the user's service manager started is in none;
/// "auto" then names the one on the display.
std::vector<Question> sessionQuestions() {
  const auto owned = [](GVariant* arguments) { return GVariantRef(g_variant_ref_sink(arguments)); };
  std::vector<Question> questions;
  if (const char* const id = std::getenv("XDG_SESSION_ID")) {
    questions.push_back({"GetSession", owned(g_variant_new("(s)", id))});
  }
  questions.push_back({"GetSessionByPID", owned(g_variant_new("(u)", static_cast<guint32>(getpid())))});
  questions.push_back({"GetSession", owned(g_variant_new("(s)", "auto"))});
  return questions;
}

std::optional<std::string> pathIn(GVariant* reply) {
  if (reply == nullptr || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(o)"))) return std::nullopt;
  const char* path = nullptr;
  g_variant_get(reply, "(&o)", &path);
  return path;
}

std::optional<bool> booleanIn(GVariant* reply) {
  if (reply == nullptr || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(b)"))) return std::nullopt;
  gboolean value = FALSE;
  g_variant_get(reply, "(b)", &value);
  return value != FALSE;
}

}  // namespace

LinuxScreenLockMonitor::LinuxScreenLockMonitor()
    : savers_{{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"},
              {"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"},
              {"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver"},
              {"org.mate.ScreenSaver", "/org/mate/ScreenSaver"},
              {"org.xfce.ScreenSaver", "/org/xfce/ScreenSaver"}} {
  if (const auto path = findSession()) {
    watchSession(*path);
    const auto reply =
        systemBus_.call(logind, path->c_str(), propertiesInterface, "GetAll", g_variant_new("(s)", sessionInterface));
    takeProperties(reply.get());
  }
  systemBus_.watchName(
      logind, [this] { logindAppeared(); }, nullptr);
  for (auto& saver : savers_) watch(saver);
}

LinuxScreenLockMonitor::~LinuxScreenLockMonitor() {
  if (lookTimer_ != 0) g_source_remove(lookTimer_);
}

bool LinuxScreenLockMonitor::isScreenLocked() {
  return lockedHint_ || !active_ || std::any_of(savers_.begin(), savers_.end(), [](const auto& s) { return s.active; });
}

std::optional<std::string> LinuxScreenLockMonitor::findSession() const {
  for (const auto& [method, arguments] : sessionQuestions()) {
    const auto reply = systemBus_.call(logind, managerPath, managerInterface, method, arguments.get());
    if (auto path = pathIn(reply.get())) return path;
  }
  return std::nullopt;
}

void LinuxScreenLockMonitor::findSessionLater(std::size_t attempt) {
  const auto questions = sessionQuestions();
  if (attempt >= questions.size()) return lookAgain();
  const auto& [method, arguments] = questions[attempt];
  systemBus_.callLater(logind, managerPath, managerInterface, method, arguments.get(),
                       [this, attempt](GVariant* reply, GUnixFDList*) {
                         const auto path = pathIn(reply);
                         if (!path) return findSessionLater(attempt + 1);
                         if (session_) return;
                         watchSession(*path);
                         askSession();
                       });
}

void LinuxScreenLockMonitor::watchSession(const std::string& path) {
  session_ = path;
  const auto request = [this](bool lock) {
    return [this, lock](GVariant*) {
      lockRequested_ = lock;
      notified();
    };
  };
  systemBus_.subscribe(logind, sessionInterface, "Lock", path.c_str(), request(true));
  systemBus_.subscribe(logind, sessionInterface, "Unlock", path.c_str(), request(false));
  systemBus_.subscribe(logind, propertiesInterface, "PropertiesChanged", path.c_str(), [this](GVariant* arguments) {
    if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sa{sv}as)"))) return;
    const GVariantRef changed(g_variant_get_child_value(arguments, 1));
    propertiesChanged(changed.get());
  });
}

// A logind that starts again has its name before it knows its sessions.
void LinuxScreenLockMonitor::logindAppeared() {
  looksLeft_ = 40;
  look();
}

void LinuxScreenLockMonitor::look() {
  if (session_) return askSession();
  findSessionLater(0);
}

void LinuxScreenLockMonitor::lookAgain() {
  if (lookTimer_ != 0 || looksLeft_ == 0) return;
  --looksLeft_;
  const auto again = [](gpointer self) -> gboolean {
    auto& monitor = *static_cast<LinuxScreenLockMonitor*>(self);
    monitor.lookTimer_ = 0;
    monitor.look();
    return G_SOURCE_REMOVE;
  };
  lookTimer_ = g_timeout_add(250, again, this);
}

void LinuxScreenLockMonitor::askSession() {
  systemBus_.callLater(logind, session_->c_str(), propertiesInterface, "GetAll", g_variant_new("(s)", sessionInterface),
                       [this](GVariant* reply, GUnixFDList*) {
                         if (reply == nullptr) return lookAgain();
                         answer([&] { takeProperties(reply); });
                         if (lockedByNotification() != anyNotified()) notified();
                       });
}

void LinuxScreenLockMonitor::watch(Saver& saver) {
  sessionBus_.subscribe(saver.name, saver.name, "ActiveChanged", nullptr, [this, &saver](GVariant* arguments) {
    if (const auto active = booleanIn(arguments)) saverChanged(saver, *active);
  });
  const auto ask = [this, &saver] {
    sessionBus_.callLater(saver.name, saver.path, saver.name, "GetActive", nullptr,
                          [this, &saver](GVariant* reply, GUnixFDList*) {
                            answer([&] { saver.active = saver.notified || booleanIn(reply).value_or(false); });
                          });
  };
  const auto forget = [this, &saver] {
    if (!saver.notified && !saver.active) return;
    saver.notified = saver.active = false;
    notified();
  };
  sessionBus_.watchName(saver.name, ask, forget);
}

void LinuxScreenLockMonitor::saverChanged(Saver& saver, bool active) {
  saver.notified = saver.active = active;
  if (!active) lockRequested_ = false;
  notified();
}

/// Of one property the last value counts; what isn't there stays as it was.
void LinuxScreenLockMonitor::takeProperties(GVariant* reply) {
  if (reply == nullptr || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(a{sv})"))) return;
  const GVariantRef properties(g_variant_get_child_value(reply, 0));
  gboolean value = FALSE;
  if (g_variant_lookup(properties.get(), "LockedHint", "b", &value)) {
    lockedHint_ = value != FALSE;
    hintNotified_ = hintNotified_ && lockedHint_;
  }
  if (g_variant_lookup(properties.get(), "Active", "b", &value)) active_ = value != FALSE;
}

void LinuxScreenLockMonitor::propertiesChanged(GVariant* properties) {
  gboolean value = FALSE;
  if (g_variant_lookup(properties, "Active", "b", &value)) answer([&] { active_ = value != FALSE; });
  if (!g_variant_lookup(properties, "LockedHint", "b", &value) || lockedHint_ == (value != FALSE)) return;
  lockedHint_ = hintNotified_ = value != FALSE;
  if (!lockedHint_) lockRequested_ = false;
  notified();
}

bool LinuxScreenLockMonitor::anyNotified() const {
  return lockRequested_ || hintNotified_ ||
         std::any_of(savers_.begin(), savers_.end(), [](const auto& saver) { return saver.notified; });
}

void LinuxScreenLockMonitor::notified() {
  setLocked(anyNotified());
}

template <typename Change>
void LinuxScreenLockMonitor::answer(Change change) {
  const bool before = isScreenLocked();
  change();
  if (isScreenLocked() != before && onChange) onChange();
}

}  // namespace quillet

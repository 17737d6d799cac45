// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/LinuxScreenLockMonitor.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

namespace quillet {
namespace {

constexpr const char* logind = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* userInterface = "org.freedesktop.login1.User";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

struct Question {
  std::string object;
  const char *interface, *method;
  GVariantRef arguments;
};

/// How to ask for this process's session, best first. A program that the user's service manager started is in none;
/// "auto" then names the one on the display. One that was started inside another login's terminal multiplexer is in
/// that login's; the user's display remains.
std::vector<Question> sessionQuestions() {
  std::vector<Question> questions;
  const auto ask = [&](std::string object, const char* interface, const char* method, GVariant* arguments) {
    questions.push_back({std::move(object), interface, method, GVariantRef(g_variant_ref_sink(arguments))});
  };
  if (const char* const id = std::getenv("XDG_SESSION_ID")) {
    ask(managerPath, managerInterface, "GetSession", g_variant_new("(s)", id));
  }
  ask(managerPath, managerInterface, "GetSessionByPID", g_variant_new("(u)", static_cast<guint32>(getpid())));
  ask(managerPath, managerInterface, "GetSession", g_variant_new("(s)", "auto"));
  ask(std::string(managerPath) + "/user/_" + std::to_string(getuid()), propertiesInterface, "Get",
      g_variant_new("(ss)", userInterface, "Display"));
  return questions;
}

/// The session's path: the answer itself, or the property in it.
std::optional<std::string> pathIn(GVariant* reply) {
  const char* path = nullptr;
  if (reply != nullptr && g_variant_is_of_type(reply, G_VARIANT_TYPE("(o)"))) g_variant_get(reply, "(&o)", &path);
  GVariantRef boxed;
  if (reply != nullptr && g_variant_is_of_type(reply, G_VARIANT_TYPE("(v)"))) {
    GVariant* value = nullptr;
    g_variant_get(reply, "(v)", &value);
    boxed.reset(value);
    if (g_variant_is_of_type(value, G_VARIANT_TYPE("(so)"))) g_variant_get(value, "(s&o)", nullptr, &path);
  }
  return path == nullptr || path == std::string_view("/") ? std::nullopt : std::optional<std::string>(path);
}

/// By its properties. One that was begun on a terminal, or from elsewhere, isn't what the user has in front.
bool isGraphical(GVariant* reply) {
  if (reply == nullptr || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(a{sv})"))) return false;
  const GVariantRef properties(g_variant_get_child_value(reply, 0));
  const char* type = nullptr;
  g_variant_lookup(properties.get(), "Type", "&s", &type);
  constexpr std::string_view types[] = {"x11", "wayland", "mir"};
  return type != nullptr && std::ranges::find(types, type) != std::end(types);
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
  look(Asking::now);
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

void LinuxScreenLockMonitor::ask(Asking asking, const std::string& object, const char* interface, const char* method,
                                 GVariant* arguments, DBusSignals::Reply reply) const {
  if (asking == Asking::later) {
    return systemBus_.callLater(logind, object.c_str(), interface, method, arguments, std::move(reply));
  }
  reply(systemBus_.call(logind, object.c_str(), interface, method, arguments).get(), nullptr);
}

/// Of the sessions found the first graphical one; where the desktop was started from a terminal there is none, and the
/// very first will do.
void LinuxScreenLockMonitor::findSession(Asking asking, std::size_t attempt, const std::string& other) {
  const auto questions = sessionQuestions();
  if (attempt >= questions.size()) return other.empty() ? lookAgain() : adoptSession(asking, other);
  const auto& [object, interface, method, arguments] = questions[attempt];
  ask(asking, object, interface, method, arguments.get(), [=, this](GVariant* reply, GUnixFDList*) {
    const auto path = pathIn(reply);
    if (!path) return findSession(asking, attempt + 1, other);
    adoptIfGraphical(asking, *path, attempt, other);
  });
}

void LinuxScreenLockMonitor::adoptIfGraphical(Asking asking, const std::string& path, std::size_t attempt,
                                              const std::string& other) {
  ask(asking, path, propertiesInterface, "GetAll", g_variant_new("(s)", sessionInterface),
      [=, this](GVariant* reply, GUnixFDList*) {
        if (isGraphical(reply)) return adoptSession(asking, path);
        findSession(asking, attempt + 1, other.empty() ? path : other);
      });
}

void LinuxScreenLockMonitor::adoptSession(Asking asking, const std::string& path) {
  if (session_) return;
  session_ = path;
  watchSession();
  askSession(asking);
}

void LinuxScreenLockMonitor::watchSession() {
  const char* const path = session_->c_str();
  const auto request = [this](bool lock) {
    return [this, lock](GVariant*) {
      lockRequested_ = lock;
      notified();
    };
  };
  systemBus_.subscribe(logind, sessionInterface, "Lock", path, request(true));
  systemBus_.subscribe(logind, sessionInterface, "Unlock", path, request(false));
  systemBus_.subscribe(logind, propertiesInterface, "PropertiesChanged", path, [this](GVariant* arguments) {
    if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sa{sv}as)"))) return;
    const GVariantRef changed(g_variant_get_child_value(arguments, 1));
    propertiesChanged(changed.get());
  });
}

// A logind that starts again has its name before it knows its sessions.
void LinuxScreenLockMonitor::logindAppeared() {
  looksLeft_ = 40;
  look(Asking::later);
}

void LinuxScreenLockMonitor::look(Asking asking) {
  if (session_) return askSession(asking);
  findSession(asking, 0, {});
}

void LinuxScreenLockMonitor::lookAgain() {
  if (lookTimer_ != 0 || looksLeft_ == 0) return;
  --looksLeft_;
  const auto again = [](gpointer self) -> gboolean {
    auto& monitor = *static_cast<LinuxScreenLockMonitor*>(self);
    monitor.lookTimer_ = 0;
    monitor.look(Asking::later);
    return G_SOURCE_REMOVE;
  };
  lookTimer_ = g_timeout_add(250, again, this);
}

void LinuxScreenLockMonitor::askSession(Asking asking) {
  ask(asking, *session_, propertiesInterface, "GetAll", g_variant_new("(s)", sessionInterface),
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

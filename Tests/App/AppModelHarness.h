// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletCompanion/App/AppModel.h"
#include "Tests/Doubles/DictationDesk.h"
#include "Tests/Doubles/FakeAccessibilityProvider.h"
#include "Tests/Doubles/FakeService.h"
#include "Tests/Doubles/FakeSystemEvents.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet::test {

class FakeLockMonitor final : public ScreenLockMonitor {
 public:
  bool isScreenLocked() override { return false; }
  void tell(bool locked) { setLocked(locked); }
};

class FakeLoginItem final : public LoginItem {
 public:
  bool isEnabled() override { return enabled; }
  void setEnabled(bool wanted) override { enabled = wanted && allowed; }
  bool enabled = false, allowed = true;
};

/// Keys in memory that can be out of reach.
class LockableSecretStore final : public SecretStore {
 public:
  std::optional<Bytes> load(const std::string& key) override {
    if (locked) throw SecretStoreError(1);
    return store.load(key);
  }
  void save(ByteView value, const std::string& key) override { store.save(value, key); }
  void remove(const std::string& key) override {
    if (locked) throw SecretStoreError(1);
    store.remove(key);
  }
  MemorySecretStore store;
  bool locked = false;
};

/// The whole model between a fake desktop and a scripted service: real sockets, virtual clocks.
class AppModelTest : public testing::Test {
 protected:
  using Step = RegistrationLoop::Step;
  using Offline = RegistrationLoop::Offline;

  static inline const std::string kRegister = "POST /v1/devices/register";
  static inline const std::string kRename = "PATCH /v1/devices/me";
  static inline const std::string kPairs = "GET /v1/pairs";
  static inline const std::string kDelete = "POST /v1/devices/me/delete";
  static inline const std::string kHealth = "GET /v1/health";

  AppModelTest() { defaults.set("QLTServerURLOverride", boost::json::string(service.url())); }
  ~AppModelTest() override {
    tasks_.clear();
    if (model) model->stopServices();
    const std::weak_ptr<AppModel> left = model;
    model.reset();
    EXPECT_TRUE(until([&] { return left.expired(); }));
    time.run();
  }

  void makeModel() {
    AppModelParts parts{
        .mainThread = time.executor(),
        .time = time.source(),
        .appVersion = "1.2 (3)",
        .machine = {.hostName = " desk ",
                    .operatingSystem = "Any OS 12",
                    .hardwareModel = "Box",
                    .kind = [] { return DeviceKind::macMini; }},
        .accessibility = {
            .provider = provider, .isGrantStale = [this] { return grantStale; }, .prompt = [this] { ++prompts; }},
        .desktop = {.lockMonitor = lockMonitor,
                    .events = systemEvents,
                    .loginItem = loginItem,
                    .restart = [this] { ++restarts; }},
        .secrets = {.store = secrets, .thread = time.executor()},
        .storage = {.defaults = defaults, .folder = folder.path(), .wordLedgers = wordLedgers},
        .network = {.session = session, .bundleServiceURL = std::nullopt, .jitter = [this] { return jitter; }},
        .dictation = desk.platform()};
    model = std::make_shared<AppModel>(std::move(parts));
  }
  void start() {
    makeModel();
    model->start();
    time.run();
  }
  /// Up to a proved socket with all upkeep done.
  void connect() {
    start();
    ASSERT_TRUE(until([&] { return isConnected() && service.count(kPairs) >= 2; }));
    settle();
  }
  /// A phone that is paired before the program starts.
  void havePeer(const DeviceIdentity& peer, std::int64_t pairedAt = 0, const std::string& name = "Ada's phone") {
    PeerStore(folder.path() / "peers.json").upsert(peer.peerIdentity(name, DevicePlatform::ios), pairedAt);
  }
  /// Connected, with one that is paired.
  void connectWith(const DeviceIdentity& peer) {
    havePeer(peer, time.wall);
    listPairs({peer.deviceId()});
    connect();
  }
  void listPairs(const std::vector<std::string>& ids) {
    std::string list;
    for (const auto& id : ids) {
      list += (list.empty() ? "" : ",") + (R"({"peerDeviceId":")" + id) +
              R"(","peerName":"P","peerPlatform":"ios","pairedAt":1,"peerLastSeenAt":77})";
    }
    service.set(kPairs, {200, R"({"pairs":[)" + list + "]}"});
  }

  /// Lets the sockets work until it has happened; the virtual clocks stand still.
  bool until(const std::function<bool()>& happened) { return runUntil(time.context, happened); }
  /// One exchange with the service after everything before it: what was under way has arrived.
  void settle() {
    const std::size_t before = service.count(kHealth);
    run(model->checkHealth());
    ASSERT_TRUE(
        until([&] { return service.count(kHealth) > before && model->health().get() != HealthState::checking; }));
  }
  void run(Awaitable<void> work) {
    auto& task = tasks_.emplace_back(time.executor());
    task.start([held = std::make_shared<Awaitable<void>>(std::move(work))] { return std::move(*held); });
  }
  /// Runs a suspending operation of the model to its end.
  template <typename T>
  T await(Awaitable<T> operation) {
    return test::await(time.context, std::move(operation));
  }

  bool is(Step step) const { return model->registration().get() == AppModel::Registration(step); }
  const Offline* offline() const { return std::get_if<Offline>(&model->registration().get()); }
  bool isConnected() const { return model->connectionStatus().get() == ConnectionStatus::connected; }
  /// The readiness reports that the phone got, opened.
  std::vector<ReadinessPayload> reports() {
    std::vector<ReadinessPayload> found;
    const auto mac = DeviceIdentity::loadOrCreate(secrets.store).peerIdentity("mac", DevicePlatform::macos);
    for (const auto& frame : service.frames<RelayClient::Presence>()) {
      for (const auto& update : frame.updates) {
        if (update.to != phone.deviceId()) continue;
        found.push_back(update.envelope.open<ReadinessPayload>(EnvelopePurpose::readiness, phone, mac));
      }
    }
    return found;
  }

  VirtualTime time;
  NetworkThread network;
  HTTPSession session{network.executor()};
  FakeService service;
  FakeAccessibilityProvider provider;
  FakeLockMonitor lockMonitor;
  FakeSystemEvents systemEvents;
  DictationDesk desk;
  FakeLoginItem loginItem;
  LockableSecretStore secrets;
  UserDefaults defaults{std::nullopt};
  WordLedgerStorage* wordLedgers = nullptr;
  TemporaryFolder folder;
  bool grantStale = false;
  int prompts = 0, restarts = 0;
  double jitter = 1.0;
  std::shared_ptr<AppModel> model;
  const DeviceIdentity phone = DeviceIdentity::generate();

 private:
  std::list<Task> tasks_;
};

}  // namespace quillet::test

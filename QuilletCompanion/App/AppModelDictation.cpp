// SPDX-License-Identifier: MIT
// What dictation on this computer gets from the model: its way into the field, and the service while there is one.
#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/App/DictationInsertion.h"

namespace quillet {
namespace {

void requireRegistration(const std::weak_ptr<AppModel>& weak) {
  const auto model = weak.lock();
  const auto registered = AppModel::Registration(RegistrationLoop::Step::registered);
  if (!model || model->registration().get() != registered) throw APIError(APIError::Transport{"Not registered"});
}

Awaitable<TranscribeResponse> transcribe(std::weak_ptr<AppModel> model, std::shared_ptr<APIClient> api, Bytes audio,
                                         TranscribeMeta meta) {
  requireRegistration(model);
  co_return co_await api->transcribe(std::move(meta), std::move(audio));
}

Awaitable<HTTPRequest> streamRequest(std::weak_ptr<AppModel> model, std::shared_ptr<APIClient> api,
                                     std::string utteranceId, RecognitionLanguage language) {
  requireRegistration(model);
  co_return co_await api->transcriptionStreamRequest(std::move(utteranceId), language);
}

Awaitable<ServiceConfig> fetchConfig(std::shared_ptr<APIClient> api) {
  co_return co_await api->config();
}

}  // namespace

void AppModel::startDictation() {
  dictation_.start([weak = weak_from_this()](std::string text) -> Awaitable<DictationInsertion> {
    auto self = weak.lock();
    const auto services = self ? self->services_ : nullptr;
    if (!services) co_return DictationNotInserted{RefusalReason::noAccessibility};
    auto& provider = self->parts_.accessibility.provider;
    self.reset();
    const DictationInsertion result = co_await insertDictation(services, provider, std::move(text));
    if (const auto still = weak.lock()) still->scheduleReadiness();
    co_return result;
  });
}

void AppModel::wireDictation(const std::shared_ptr<APIClient>& api) {
  dictation_.cloud.transcribe = [weak = weak_from_this(), api](Bytes audio, TranscribeMeta meta) {
    return transcribe(weak, api, std::move(audio), std::move(meta));
  };
  dictation_.cloud.streamRequest = [weak = weak_from_this(), api](std::string utteranceId,
                                                                  RecognitionLanguage language) {
    return streamRequest(weak, api, std::move(utteranceId), language);
  };
  dictation_.fetchConfiguration = [api] { return fetchConfig(api); };
  dictation_.refreshConfiguration();
}

void AppModel::becameActive() {
  refreshAccessibilityTrust();
  dictation_.refreshStatus();
}

}  // namespace quillet

// SPDX-License-Identifier: MIT
#include "QuilletSpeech/OpenAIEngine.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/UUID.h"
#include "QuilletKit/JSON/JSONFields.h"
#include "QuilletKit/Protocol/WaveFile.h"
#include "QuilletSpeech/SpeechText.h"

namespace quillet {
namespace {

constexpr std::string_view kPath = "/audio/transcriptions";
constexpr std::string_view kUsualModel = "whisper-1";
constexpr std::size_t kLongestPrompt = 800;  // Servers read some 220 tokens of it.

struct Transcription {
  std::string text;
};
constexpr auto jsonFields(std::type_identity<Transcription>) {
  using namespace JSONCoding;
  return fields(field("text", &Transcription::text));
}

ServiceURL endpointOf(const OpenAISettings& settings) {
  const auto url = ServiceURL::parse(settings.url);
  if (!url) throw std::invalid_argument("This isn't the address of a speech server.");
  std::string target = url->target;
  if (target == "/") target = "/v1";
  if (target.ends_with('/')) target.pop_back();
  return url->resolve(target.ends_with("/v1") ? target + std::string(kPath) : target);
}

/// A body of multipart/form-data. The boundary is drawn anew for each, so that no value can hold it.
class Form {
 public:
  void add(std::string_view name, std::string_view value) {
    open(name, "");
    body_.append(value).append("\r\n");
  }
  void addRecording(std::string_view name, std::span<const std::int16_t> samples) {
    const Bytes header = WaveFile::header(samples.size_bytes());
    body_.reserve(samples.size_bytes() + 4096);
    open(name, "; filename=\"speech.wav\"\r\nContent-Type: audio/wav");
    body_.append(textOf(header));
    body_.append(reinterpret_cast<const char*>(samples.data()), samples.size_bytes()).append("\r\n");
  }
  std::string finish() && {
    body_.append("--").append(boundary_).append("--\r\n");
    return std::move(body_);
  }
  std::string contentType() const { return "multipart/form-data; boundary=" + boundary_; }

 private:
  void open(std::string_view name, std::string_view more) {
    body_.append("--").append(boundary_).append("\r\nContent-Disposition: form-data; name=\"");
    body_.append(name).append("\"").append(more).append("\r\n\r\n");
  }

  std::string boundary_ = "quillet-" + randomUUID();
  std::string body_;
};

std::string promptOf(const std::vector<std::string>& phrases) {
  std::string prompt;
  for (const std::string& phrase : phrases) {
    if (prompt.size() + phrase.size() > kLongestPrompt) break;
    if (!prompt.empty()) prompt += ", ";
    prompt += phrase;
  }
  return prompt;
}

std::string readKey(const std::filesystem::path& path) {
  std::istringstream text(File::read(path).value.value_or(""));
  std::string key;
  if (!(text >> key)) throw SpeechError(SpeechFailure::unavailable, "The key file can't be read.");
  return key;
}

bool mentionsLanguage(std::string_view body) {
  constexpr std::string_view kWord = "language";
  const auto same = [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; };
  return std::search(body.begin(), body.end(), kWord.begin(), kWord.end(), same) != body.end();
}

SpeechFailure failureOf(const HTTPResponse& response, bool languageSent) {
  switch (response.status) {
    case 400:
    case 422:
      return languageSent && mentionsLanguage(response.body) ? SpeechFailure::languageUnsupported
                                                             : SpeechFailure::failed;
    case 413:
      return SpeechFailure::tooLong;
    case 429:
    case 503:
      return SpeechFailure::busy;
    default:
      return SpeechFailure::unavailable;
  }
}

/// Throws SpeechError.
std::string wordsOf(const HTTPResponse& response, bool languageSent) {
  if (response.status < 200 || response.status > 299) {
    throw SpeechError(failureOf(response, languageSent),
                      "The speech server answered " + std::to_string(response.status) + ".");
  }
  try {
    return JSONCoding::decode<Transcription>(response.body).text;
  } catch (const JSONCoding::DecodingError&) {
    throw SpeechError(SpeechFailure::unavailable, "The speech server's answer holds no text.");
  }
}

}  // namespace

class OpenAIEngine::Session final : public SpeechSession {
 public:
  Session(const OpenAIEngine& engine, SpeechOptions options) : engine_(engine), options_(std::move(options)) {}

  void accept(std::span<const std::int16_t> samples) override {
    tooLong_ = tooLong_ || samples_.size() + samples.size() > engine_.settings_.longestSound;
    if (!tooLong_) samples_.insert(samples_.end(), samples.begin(), samples.end());
  }
  std::string partialText() const override { return {}; }

  Awaitable<std::string> finish() override {
    if (tooLong_) throw SpeechError(SpeechFailure::tooLong, "An utterance was too long.");
    HTTPRequest request = engine_.request(samples_, options_);
    std::exchange(samples_, {});
    HTTPResponse response;
    try {
      response = co_await engine_.http_.send(std::move(request));
    } catch (const TransportError& error) {
      throw SpeechError(SpeechFailure::unavailable, error.what());
    }
    co_return SpeechText::finished(wordsOf(response, !options_.language.empty()), options_);
  }

 private:
  const OpenAIEngine& engine_;
  SpeechOptions options_;
  std::vector<std::int16_t> samples_;
  bool tooLong_ = false;
};

OpenAIEngine::OpenAIEngine(OpenAISettings settings, HTTPSession& http)
    : settings_(std::move(settings)), endpoint_(endpointOf(settings_)), http_(http) {}

SpeechEngineInfo OpenAIEngine::info() const {
  return {"openai", settings_.model, settings_.region.empty() ? endpoint_.host : settings_.region, {}};
}

Awaitable<std::unique_ptr<SpeechSession>> OpenAIEngine::begin(SpeechOptions options) {
  co_return std::make_unique<Session>(*this, std::move(options));
}

HTTPRequest OpenAIEngine::request(std::span<const std::int16_t> samples, const SpeechOptions& options) const {
  Form form;
  form.addRecording("file", samples);
  form.add("model", settings_.model.empty() ? kUsualModel : std::string_view(settings_.model));
  form.add("response_format", "json");
  if (!options.language.empty()) form.add("language", SpeechText::primaryLanguage(options.language));
  if (const std::string prompt = promptOf(options.phrases); !prompt.empty()) form.add("prompt", prompt);
  HTTPRequest request{.method = "POST", .url = endpoint_, .timeout = settings_.timeout};
  request.headers = {{"Content-Type", form.contentType()}, {"Accept", "application/json"}, {"User-Agent", "Quillet/1"}};
  if (settings_.keyFile) request.headers.emplace_back("Authorization", "Bearer " + readKey(*settings_.keyFile));
  request.body = std::move(form).finish();
  return request;
}

}  // namespace quillet

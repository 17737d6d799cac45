// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/WireModels.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <utility>

#include "QuilletKit/Base/Base64URL.h"

namespace quillet {
namespace {

std::string lowercaseWithoutWhitespace(std::string_view text) {
  icu::UnicodeString lower = icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
  lower.toLower(icu::Locale::getRoot());
  icu::UnicodeString kept;
  for (std::int32_t i = 0; i < lower.length(); i = lower.moveIndex32(i, 1)) {
    if (const UChar32 c = lower.char32At(i); !u_isUWhiteSpace(c)) kept.append(c);
  }
  std::string out;
  return kept.toUTF8String(out);
}

}  // namespace

std::optional<DeviceKind> deviceKindFromModel(std::string_view model) {
  static constexpr std::pair<std::string_view, DeviceKind> kPrefixes[] = {{"macbook", DeviceKind::macBook},
                                                                          {"imac", DeviceKind::iMac},
                                                                          {"macmini", DeviceKind::macMini},
                                                                          {"macstudio", DeviceKind::macStudio},
                                                                          {"macpro", DeviceKind::macPro}};
  const std::string name = lowercaseWithoutWhitespace(model);
  for (const auto& [prefix, kind] : kPrefixes) {
    if (name.starts_with(prefix)) return kind;
  }
  return std::nullopt;
}

const std::vector<DeviceKind>& allDeviceKinds() {
  static const std::vector<DeviceKind> kinds = [] {
    std::vector<DeviceKind> all(rawNames(std::type_identity<DeviceKind>{}).size());
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<DeviceKind>(i);
    return all;
  }();
  return kinds;
}

std::string ResultPayload::canonicalString(std::string_view utteranceId, InsertionOutcome outcome,
                                           std::optional<RefusalReason> reason, std::int64_t at) {
  std::string text = "QLT-RESULT-1|";
  text.append(utteranceId).append("|").append(rawValue(outcome)).append("|");
  if (reason) text.append(rawValue(*reason));
  return text.append("|").append(std::to_string(at));
}

ResultPayload ResultPayload::makeSigned(std::string utteranceId, InsertionOutcome outcome,
                                        std::optional<RefusalReason> reason, std::optional<std::string> appName,
                                        std::optional<InsertionMethod> method, std::int64_t at,
                                        const DeviceIdentity& sender) {
  const std::string canonical = canonicalString(utteranceId, outcome, reason, at);
  const auto signature = Crypto::sign(sender.signingKey, bytesOf(canonical));
  return {std::move(utteranceId), outcome, reason, std::move(appName), method, at, Base64URL::encode(signature)};
}

bool ResultPayload::verify(const PeerIdentity& sender) const {
  const auto signatureBytes = Base64URL::decode(signature);
  const auto key = Base64URL::decode(sender.signingPublicKey);
  if (!signatureBytes || !key || key->size() != Crypto::kKeySize) return false;
  return Crypto::verify(Crypto::keyFrom(*key), bytesOf(canonicalString(utteranceId, outcome, reason, at)),
                        *signatureBytes);
}

}  // namespace quillet

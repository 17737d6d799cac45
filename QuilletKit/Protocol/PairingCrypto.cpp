// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/PairingCrypto.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#include <utility>

#include "QuilletKit/Base/Base64URL.h"
#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/Envelope.h"

namespace quillet {
namespace {

constexpr std::string_view kInvitationScheme = "quillet";
constexpr std::string_view kInvitationHost = "pair";
constexpr std::size_t kGroupedCodeSize = 8;

/// The value of the first query item of that name; absent also for what isn't UTF-8.
std::optional<std::string> queryValue(const boost::urls::url_view& url, std::string_view name) {
  for (const auto& item : url.encoded_params()) {
    if (item.key.decode() != name) continue;
    auto value = item.value.decode();
    return item.has_value && Unicode::isValidUTF8(value) ? std::optional(std::move(value)) : std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

std::string PairingInvitation::text() const {
  return "quillet://pair?s=" + sessionId + "&k=" + Base64URL::encode(macEphemeralPublicKey);
}

std::optional<PairingInvitation> PairingInvitation::parse(std::string_view text) {
  const auto url = boost::urls::parse_uri(text);
  if (!url || url->scheme() != kInvitationScheme || url->encoded_authority() != kInvitationHost) return std::nullopt;
  auto session = queryValue(*url, "s");
  const auto keyText = queryValue(*url, "k");
  if (!session || session->empty() || !keyText) return std::nullopt;
  const auto key = Base64URL::decode(*keyText);
  if (!key || key->size() != Crypto::kKeySize) return std::nullopt;
  return PairingInvitation{*std::move(session), Crypto::keyFrom(*key)};
}

std::string PairingCode::normalise(std::string_view typed) {
  icu::UnicodeString upper = icu::UnicodeString::fromUTF8({typed.data(), static_cast<std::int32_t>(typed.size())});
  upper.toUpper(icu::Locale::getRoot());
  icu::UnicodeString code;
  for (std::int32_t i = 0; i < upper.length(); i = upper.moveIndex32(i, 1)) {
    const UChar32 character = upper.char32At(i);
    if (character == u'O') {
      code.append(u'0');
    } else if (character == u'I' || character == u'L') {
      code.append(u'1');
    } else if ((U_GET_GC_MASK(character) & (U_GC_L_MASK | U_GC_N_MASK)) != 0) {
      code.append(character);
    }
  }
  std::string result;
  return code.toUTF8String(result);
}

std::string PairingCode::display(std::string_view code) {
  std::string canonical = normalise(code);
  const icu::UnicodeString characters = icu::UnicodeString::fromUTF8(canonical);
  if (characters.countChar32() != kGroupedCodeSize) return canonical;
  icu::UnicodeString grouped = characters;
  grouped.insert(characters.moveIndex32(0, kGroupedCodeSize / 2), u'-');
  std::string result;
  return grouped.toUTF8String(result);
}

const std::array<std::string_view, 256>& pairingWords() {
  static constexpr std::array<std::string_view, 256> kWords{
      "acorn",    "anchor", "apple",   "arrow",   "aspen",   "atlas",   "autumn",  "badge",   "bagel",    "bamboo",
      "banjo",    "barley", "basil",   "beacon",  "beaver",  "berry",   "bison",   "blanket", "blossom",  "bonsai",
      "border",   "bottle", "branch",  "bread",   "breeze",  "brick",   "bridge",  "brook",   "bubble",   "bucket",
      "buffalo",  "button", "cabin",   "cactus",  "camel",   "candle",  "canoe",   "canyon",  "carbon",   "carrot",
      "castle",   "cedar",  "cello",   "chalk",   "cherry",  "chess",   "cider",   "cinder",  "circle",   "citrus",
      "cliff",    "clock",  "cloud",   "clover",  "cobalt",  "coconut", "comet",   "copper",  "coral",    "cotton",
      "cougar",   "crane",  "crayon",  "cricket", "crystal", "cycle",   "daisy",   "delta",   "desert",   "diamond",
      "dolphin",  "donut",  "dragon",  "drum",    "eagle",   "echo",    "ember",   "emerald", "engine",   "falcon",
      "feather",  "fern",   "fiddle",  "field",   "flame",   "flint",   "flute",   "forest",  "fossil",   "fountain",
      "fox",      "galaxy", "garden",  "garnet",  "ginger",  "glacier", "globe",   "goose",   "granite",  "grape",
      "gravel",   "guitar", "hammer",  "harbor",  "harp",    "hazel",   "hedge",   "helmet",  "heron",    "honey",
      "horizon",  "island", "ivory",   "jacket",  "jade",    "jaguar",  "jasmine", "jelly",   "jungle",   "kayak",
      "kettle",   "kiwi",   "koala",   "ladder",  "lagoon",  "lantern", "lava",    "lemon",   "lily",     "lime",
      "linen",    "lizard", "lobster", "locket",  "lotus",   "lunar",   "magnet",  "mango",   "maple",    "marble",
      "meadow",   "melon",  "meteor",  "mint",    "mirror",  "mitten",  "moose",   "mosaic",  "moss",     "motor",
      "mountain", "muffin", "nectar",  "needle",  "nickel",  "noodle",  "nutmeg",  "oak",     "oasis",    "ocean",
      "olive",    "onyx",   "orange",  "orbit",   "orchid",  "otter",   "owl",     "paddle",  "palm",     "panda",
      "paper",    "parrot", "pasta",   "peach",   "pebble",  "pencil",  "penguin", "pepper",  "piano",    "pickle",
      "pillow",   "pine",   "planet",  "plum",    "pocket",  "pony",    "poppy",   "prairie", "prism",    "puffin",
      "pumpkin",  "quartz", "quill",   "rabbit",  "radar",   "radish",  "rain",    "raven",   "reef",     "ribbon",
      "river",    "robin",  "rocket",  "rose",    "ruby",    "saddle",  "saffron", "salmon",  "sand",     "sapphire",
      "satin",    "shell",  "silver",  "sketch",  "sled",    "slate",   "snow",    "sparrow", "spruce",   "squash",
      "star",     "stone",  "storm",   "sugar",   "summit",  "sunset",  "swan",    "tango",   "teapot",   "thistle",
      "thunder",  "tiger",  "timber",  "tomato",  "topaz",   "tulip",   "tundra",  "turtle",  "umbrella", "valley",
      "velvet",   "violet", "volcano", "waffle",  "walnut",  "walrus",  "willow",  "window",  "winter",   "wolf",
      "yarn",     "zebra",  "zephyr",  "zinc",    "wagon",   "whale"};
  return kWords;
}

PairingCrypto::PairingCrypto(std::string sessionId, Crypto::Key macEphemeralPublicKey,
                             Crypto::Key phoneEphemeralPublicKey, std::string macDeviceId, std::string phoneDeviceId,
                             const Crypto::Key& ownEphemeralPrivateKey)
    : sessionId_(std::move(sessionId)),
      macEphemeralPublicKey_(macEphemeralPublicKey),
      phoneEphemeralPublicKey_(phoneEphemeralPublicKey),
      macDeviceId_(std::move(macDeviceId)),
      phoneDeviceId_(std::move(phoneDeviceId)) {
  const Crypto::Key own = Crypto::x25519PublicKey(ownEphemeralPrivateKey);
  if (own != macEphemeralPublicKey_ && own != phoneEphemeralPublicKey_) {
    throw EnvelopeError(EnvelopeError::Code::badKey);
  }
  const Crypto::Key& other = own == macEphemeralPublicKey_ ? phoneEphemeralPublicKey_ : macEphemeralPublicKey_;
  sharedSecret_ = Crypto::sharedSecret(ownEphemeralPrivateKey, other);
}

Crypto::Digest PairingCrypto::transcriptHash() const {
  const std::string transcript = "QLT-PAIR-1|" + sessionId_ + "|" + Base64URL::encode(macEphemeralPublicKey_) + "|" +
                                 Base64URL::encode(phoneEphemeralPublicKey_) + "|" + macDeviceId_ + "|" +
                                 phoneDeviceId_;
  return Crypto::sha256(bytesOf(transcript));
}

Crypto::Key PairingCrypto::exchangeKey() const {
  return Crypto::keyFrom(Crypto::hkdf(sharedSecret_, transcriptHash(), bytesOf("qlt-pair-key"), Crypto::kKeySize));
}

std::array<std::string, 4> PairingCrypto::verificationWords() const {
  std::array<std::string, 4> words;
  const Bytes indices = Crypto::hkdf(sharedSecret_, transcriptHash(), bytesOf("qlt-pair-phrase"), words.size());
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = pairingWords()[indices[i]];
  return words;
}

std::string PairingCrypto::verificationPhrase() const {
  const auto words = verificationWords();
  return words[0] + " " + words[1] + " " + words[2] + " " + words[3];
}

std::string PairingCrypto::sealIdentity(const PeerIdentity& own) const {
  Crypto::Nonce nonce;
  Crypto::fillRandom(nonce);
  return sealIdentity(own, nonce);
}

std::string PairingCrypto::sealIdentity(const PeerIdentity& own, const Crypto::Nonce& nonce) const {
  const std::string plaintext = JSONCoding::encode(own);
  return Base64URL::encode(Crypto::seal(exchangeKey(), nonce, bytesOf(plaintext), {}));
}

PeerIdentity PairingCrypto::openIdentity(std::string_view sealed, std::string_view expectedDeviceId) const {
  const auto box = Base64URL::decode(sealed);
  if (!box) throw EnvelopeError(EnvelopeError::Code::badEncoding);
  const Bytes plaintext = Crypto::open(exchangeKey(), *box, {});
  PeerIdentity peer = JSONCoding::decode<PeerIdentity>(textOf(plaintext));
  if (!peer.isConsistent() || peer.deviceId != expectedDeviceId) {
    throw EnvelopeError(EnvelopeError::Code::wrongSender);
  }
  return peer;
}

}  // namespace quillet

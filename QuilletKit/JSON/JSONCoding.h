// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

/// The one JSON vocabulary. Keys are written in ascending order, "/" unescaped, optional fields omitted when absent.
/// Reading is strict in types and closed enumerations, ignores unknown keys, takes null for an absent optional, and
/// lets the last of repeated keys win. Integers written with a fraction or an exponent, numbers beyond a double's
/// range, lone surrogates, invalid UTF-8, a byte order mark and nesting deeper than 32 are refused.
///
/// Defined for every type of WireModels.h and ServiceModels.h, Envelope and PeerIdentity: include this header and call.
/// To add a type, in the .cpp that owns its file or wire format include "QuilletKit/JSON/JSONFields.h" (and
/// "QuilletKit/Protocol/WireCoding.h" when it holds wire types), and describe it in its own namespace, keys ascending:
///
///     constexpr auto jsonFields(std::type_identity<StoredPeer>) {
///       using namespace JSONCoding;
///       return fields(field("identity", &StoredPeer::identity), field("pairedAt", &StoredPeer::pairedAt));
///     }
///
/// encode and decode then work for it, for vectors and string-keyed maps of it, and as a member of other types in that
/// file. A member that is std::optional may be absent; `defaulted` lets any other member keep its initial value.
/// Enumerations take a table (RawValue.h).
/// If other files call encode or decode of the type, add JSONCODING_INSTANTIATE(Type) at global scope. Text that was
/// encoded before is spliced by JSONWriter::raw.
namespace quillet::JSONCoding {

/// A text that isn't JSON, or isn't of the expected type. The message names the key, never a value.
struct DecodingError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
/// A value that can't be represented (text that isn't UTF-8).
struct EncodingError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Throws EncodingError. From any thread, as `decode`.
template <typename T>
std::string encode(const T& value);
/// Throws DecodingError.
template <typename T>
T decode(std::string_view json);

}  // namespace quillet::JSONCoding

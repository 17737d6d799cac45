// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Typing/FrequentCharacters.h"

#include <algorithm>
#include <array>

namespace quillet {
namespace {

constexpr std::array<std::u32string_view, 10> alphabets{
    U"’“”—–…„‘€",
    U"éäüößèàçñáíóúêâôîïëùåøæãõìòœÄÖÜÉ¿¡«»",
    U"ąęłśżźćńěščřžýůďťňğışţășțőű",
    U"оеаинтсрвлкмдпуяыьгзбчйхжшюцщэфіїєёъ",
    U"αοιετσνηρπκμλςυγδωχθφβξζάίόέήύώψ",
    U"יוהלארמתבשעםנדקחפכטגצןסזךץף",
    U"ايلنمتروبعدةهسفكقحجأشصطخضىذثزءغئظآؤ",
    U"नरकतसमहयलपवदजगबशटडचथधषठणघभ्ािेोींैुू",
    U"านรอกเงมยลวดทสตะปบคหแจพชขใไโผ่้ิีัืุู็",
    U"のいにたてるしはとがなでをかれさすんまりこあらもっきくうそどよめつけわだえせみ、。",
};

}  // namespace

std::u32string_view companionsOf(char32_t character) {
  const auto* const found = std::find_if(alphabets.begin(), alphabets.end(), [&](std::u32string_view alphabet) {
    return alphabet.find(character) != alphabet.npos;
  });
  return found == alphabets.end() ? std::u32string_view() : *found;
}

}  // namespace quillet

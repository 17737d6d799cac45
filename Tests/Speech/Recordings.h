// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <sstream>

#include "QuilletKit/Protocol/WaveFile.h"
#include "Tests/Doubles/Files.h"

namespace quillet::test {

/// What people said, from the package pocketsphinx-testdata: pages of a novel and playing cards.
struct Recording {
  std::string name;
  std::vector<std::int16_t> samples;
  std::string words;
};

/// As they lie in a file.
inline ByteView bytesOfSamples(std::span<const std::int16_t> samples) {
  return {reinterpret_cast<const std::uint8_t*>(samples.data()), samples.size_bytes()};
}

inline const std::filesystem::path kRecordings = "/usr/share/pocketsphinx/test/data";

/// Samples of a WAV file, or of a raw one.
inline std::vector<std::int16_t> recordedSamples(const std::filesystem::path& path) {
  const std::string file = readText(path);
  const ByteView bytes = bytesOf(file);
  const auto samples = WaveFile::pcm(bytes);
  return WaveFile::samples(samples ? *samples : bytes);
}

/// All that have their words written beside them: lines of "<s> words </s> (name)".
inline std::vector<Recording> transcribedRecordings() {
  std::vector<Recording> recordings;
  for (const char* list : {"librivox/transcription", "cards/cards.transcription"}) {
    std::ifstream lines(kRecordings / list);
    for (std::string line; std::getline(lines, line);) {
      const auto open = line.rfind('('), close = line.rfind(')');
      if (open == line.npos || close == line.npos) continue;
      Recording recording{line.substr(open + 1, close - open - 1), {}, {}};
      std::istringstream words(line.substr(0, open));
      for (std::string word; words >> word;) {
        if (!word.starts_with('<')) recording.words += (recording.words.empty() ? "" : " ") + word;
      }
      recording.samples = recordedSamples((kRecordings / list).parent_path() / (recording.name + ".wav"));
      recordings.push_back(std::move(recording));
    }
  }
  return recordings;
}

/// "go forward ten meters", three seconds.
inline std::vector<std::int16_t> goForward() {
  return recordedSamples(kRecordings / "goforward.raw");
}

/// Words that must be put in, taken out or replaced to make one text of the other.
inline std::size_t wordErrors(const std::string& expected, const std::string& actual) {
  const auto split = [](const std::string& text) {
    std::istringstream stream(text);
    return std::vector<std::string>(std::istream_iterator<std::string>(stream), {});
  };
  const auto want = split(expected), have = split(actual);
  std::vector<std::size_t> row(have.size() + 1);
  for (std::size_t j = 0; j <= have.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= want.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= have.size(); ++j) {
      const std::size_t replaced = diagonal + (want[i - 1] == have[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
    }
  }
  return row.back();
}

}  // namespace quillet::test

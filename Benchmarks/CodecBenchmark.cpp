// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <boost/json.hpp>
#include <string>

#include "QuilletKit/JSONCoding.h"
#include "QuilletKit/WireModels.h"

/// The relay frame of one dictated text (1.4 KB), beside what the JSON library costs by itself.
namespace quillet {
namespace {

RelayServerMessage sampleFrame() {
  Envelope envelope;
  envelope.purpose = EnvelopePurpose::delivery;
  envelope.from = std::string(32, 'a');
  envelope.to = std::string(32, 'b');
  envelope.salt = std::string(43, 'S');
  envelope.box = std::string(1100, 'x');
  return RelayServer::Deliver{"0f8fad5b-d9cb-469f-a165-70867728950e", envelope.from, envelope};
}

void decodeFrame(benchmark::State& state) {
  const std::string text = JSONCoding::encode(sampleFrame());
  for (auto _ : state) benchmark::DoNotOptimize(JSONCoding::decode<RelayServerMessage>(text));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(decodeFrame);

void parseAlone(benchmark::State& state) {
  const std::string text = JSONCoding::encode(sampleFrame());
  for (auto _ : state) benchmark::DoNotOptimize(boost::json::parse(text));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(parseAlone);

void encodeFrame(benchmark::State& state) {
  const RelayServerMessage frame = sampleFrame();
  for (auto _ : state) benchmark::DoNotOptimize(JSONCoding::encode(frame));
}
BENCHMARK(encodeFrame);

void serializeAlone(benchmark::State& state) {
  const boost::json::value value = boost::json::parse(JSONCoding::encode(sampleFrame()));
  for (auto _ : state) benchmark::DoNotOptimize(boost::json::serialize(value));
}
BENCHMARK(serializeAlone);

}  // namespace
}  // namespace quillet

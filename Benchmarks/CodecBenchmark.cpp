// SPDX-License-Identifier: MIT
#include <boost/json.hpp>
#include <string>

#include "Benchmarks/Table.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/Protocol/WireModels.h"

/// The relay frame of one dictated text (1.4 KB), beside what the JSON library costs by itself.
namespace quillet::bench {
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

void codec(Table& table) {
  table.section("Relay frame of 1.4 KB, fully checked");
  const RelayServerMessage frame = sampleFrame();
  const std::string text = JSONCoding::encode(frame);
  const boost::json::value value = boost::json::parse(text);
  const Comparison decoding =
      compare([&] { keep(JSONCoding::decode<RelayServerMessage>(text)); }, [&] { keep(boost::json::parse(text)); });
  const Comparison encoding =
      compare([&] { keep(JSONCoding::encode(frame)); }, [&] { keep(boost::json::serialize(value)); });
  table.add({"decode", {decoding.ours / 1000, "us"}, "", {}, 1.0});
  table.add({"decode, beside the bare library",
             {decoding.ours / 1000, "us"},
             "boost::json::parse",
             Figure{decoding.floor / 1000, "us"}});
  table.add({"encode", {encoding.ours / 1000, "us"}, "", {}, 1.5});
  table.add({"encode, beside the bare library",
             {encoding.ours / 1000, "us"},
             "boost::json::serialize",
             Figure{encoding.floor / 1000, "us"}});
}
const Section kSection("codec", codec);

}  // namespace
}  // namespace quillet::bench

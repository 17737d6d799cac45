// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "Benchmarks/Table.h"

namespace quillet::bench {
namespace {

struct NamedSection {
  std::string name;
  void (*run)(Table&);
};

std::vector<NamedSection>& sections() {
  static std::vector<NamedSection> all;
  return all;
}

}  // namespace

Section::Section(std::string_view name, void (*run)(Table&)) {
  sections().push_back({std::string(name), run});
}

int runSections(const std::vector<std::string>& wanted) {
  std::sort(sections().begin(), sections().end(),
            [](const NamedSection& a, const NamedSection& b) { return a.name < b.name; });
  const auto known = [](const std::string& name) {
    return std::any_of(sections().begin(), sections().end(),
                       [&](const NamedSection& each) { return each.name == name; });
  };
  for (const std::string& name : wanted) {
    if (known(name)) continue;
    std::fprintf(stderr, "usage: quillet-benchmarks [SECTION ...]\nsections:");
    for (const NamedSection& each : sections()) std::fprintf(stderr, " %s", each.name.c_str());
    std::fprintf(stderr, "\n");
    return name == "--help" ? 0 : 2;
  }
  Table table;
  for (const NamedSection& each : sections()) {
    if (wanted.empty() || std::find(wanted.begin(), wanted.end(), each.name) != wanted.end()) each.run(table);
  }
  return table.allMet() ? 0 : 1;
}

}  // namespace quillet::bench

int main(int argc, char** argv) {
  return quillet::bench::runSections({argv + 1, argv + argc});
}

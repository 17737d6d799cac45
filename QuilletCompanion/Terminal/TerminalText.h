// SPDX-License-Identifier: MIT
#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <string>

#include "QuilletCompanion/App/AppModel.h"

/// What the model holds, as JSON for programs and as text for people.
namespace quillet::TerminalText {

boost::json::object describe(const AppModel::Registration& registration);
std::string textOf(const AppModel::Registration& registration);

boost::json::object describe(const Readiness& readiness);
std::string textOf(const Readiness& readiness);

boost::json::array describePeers(const AppModel& model);
std::string peersText(const AppModel& model);

boost::json::object describeStatus(const AppModel& model);
std::string statusText(const AppModel& model);

std::vector<ConnectionCheckRow> checkRows(const AppModel& model);
boost::json::array describe(const std::vector<ConnectionCheckRow>& rows);
std::string textOf(const std::vector<ConnectionCheckRow>& rows);

boost::json::object describe(const WordStatsSummary& summary);
std::string textOf(const WordStatsSummary& summary);

/// What to do while this program may not type, or that all is well.
std::string accessibilityText(const AppModel& model);

}  // namespace quillet::TerminalText

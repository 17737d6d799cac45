// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/CheckView.h"

#include <QVariantMap>
#include <utility>

namespace quillet {

CheckView::CheckView(AppModel& model, Executor mainThread) : ViewObject(std::move(mainThread)), model_(model) {
  follow(model_.health());
  follow(model_.connectionStatus());
  follow(model_.axTrusted());
  follow(model_.peerStore().peers());
  follow(model_.localTest().text());
  follow(model_.localTest().lastReceivedAt());
}

CheckView::~CheckView() {
  setFocused(false);
}

QVariantList CheckView::rows() const {
  QVariantList found;
  for (const auto& row : connectionCheckRows(model_.health().get(), model_.connectionStatus().get(),
                                             model_.axTrusted().get(), model_.peerStore().peers().get().size())) {
    found.append(QVariantMap{
        {"title", inWords(row.title)}, {"state", toQt(rawValue(row.state))}, {"detail", inWords(row.detail)}});
  }
  return found;
}

void CheckView::check() {
  background([this](Task::Token token) -> Awaitable<void> {
    co_await model_.checkHealth();
    if (!token.cancelled() && model_.connectionStatus().get() != ConnectionStatus::connected) model_.retryConnection();
  });
}

}  // namespace quillet

// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/ViewEngine.h"

#include <QQuickWindow>

#include "QuilletCompanion/Views/QRCodeProvider.h"
#include "QuilletCompanion/Views/SymbolProvider.h"

// Made by the build; nothing else refers to it, so that the linker would leave the types out.
extern void qml_register_types_Quillet();

namespace quillet {

void prepareViews(Look& look) {
  // A virtual driver of a graphics card takes eight times the memory for windows that hardly ever move.
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  qml_register_types_Quillet();
  // Each engine asks anew; a registered instance would be the first one's alone.
  qmlRegisterSingletonType<Look>("Quillet", 1, 0, "Look", [&look](QQmlEngine*, QJSEngine*) -> QObject* {
    QJSEngine::setObjectOwnership(&look, QJSEngine::CppOwnership);
    return &look;
  });
}

std::unique_ptr<QQmlEngine> makeViewEngine() {
  auto engine = std::make_unique<QQmlEngine>();
  engine->addImageProvider(QStringLiteral("symbol"), new SymbolProvider);
  engine->addImageProvider(QStringLiteral("qr"), new QRCodeProvider);
  engine->addImportPath(QStringLiteral(":/quillet/qml"));
  return engine;
}

}  // namespace quillet

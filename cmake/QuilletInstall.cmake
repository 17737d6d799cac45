# SPDX-License-Identifier: MIT
# What a package of Quillet holds.
include(GNUInstallDirs)
install(TARGETS quillet-service quillet-phone)
if(NOT QUILLET_KIT_ONLY)
  # The last two are looked for beside the first.
  install(TARGETS QuilletCompanion QuilletWindows quillet-muffle-watch)
  set(resources ${PROJECT_SOURCE_DIR}/QuilletCompanion/Resources)
  install(FILES ${resources}/com.fernhollow.quillet.mac.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES ${resources}/com.fernhollow.quillet.mac.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
endif()

# What most sources of the product include, compiled once for its libraries. Under sanitizers only:
# the other presets compile the same sources without it and prove that each includes what it uses.

set(TEVORO_PRODUCT_HEADERS
  <algorithm> <array> <atomic> <chrono> <cstdint> <filesystem> <functional> <map> <memory> <mutex>
  <optional> <set> <string> <string_view> <thread> <utility> <vector>)

function(tevoro_product_headers name)
  add_library(${name} OBJECT EXCLUDE_FROM_ALL "${PROJECT_SOURCE_DIR}/cmake/PrecompiledHeaders.cpp")
  tevoro_target(${name})
  target_precompile_headers(${name} PRIVATE ${TEVORO_PRODUCT_HEADERS} ${ARGN})
endfunction()

if(NOT CMAKE_CXX_FLAGS MATCHES "fsanitize")
  return()
endif()

tevoro_product_headers(product_headers)
if(TEVORO_BUILD_QT)
  tevoro_product_headers(qt_product_headers <QByteArray> <QDir> <QImage> <QString> <QWidget>)
  tevoro_qt_target(qt_product_headers)
  target_link_libraries(qt_product_headers PRIVATE Qt6::Widgets)
endif()
set(TEVORO_HAS_PRODUCT_HEADERS ON)

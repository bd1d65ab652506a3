# find_package(tevorotalk): the message bus, target tevorotalk::tevorotalk.
include("${CMAKE_CURRENT_LIST_DIR}/tevorotalk-targets.cmake")

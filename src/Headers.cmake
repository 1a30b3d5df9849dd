# Every installed header, relative to src/. Include after Sources.cmake.
#
# A class brings its header along with its source: each source listed in
# Sources.cmake installs the header of the same name beside it, when there is
# one. Headers without a source of their own, and the umbrella header, are
# listed here by name. The install test fails when a header in src/ is not
# installed, so a header-only file left off this list shows up there.
set(TYPEFRAME_HEADER_ONLY_HEADERS
  typeframe.h
  base/BigEndianBuffer.h
  base/FixedPoint.h
  base/Geometry.h
  base/OutStream.h
  core/Failure.h
  layout/CoveredOffsetList.h
  layout/MarkAttachmentPos.h
  tables/LongMetrics.h
  variations/RegionScalar.h
)

set(TYPEFRAME_PUBLIC_HEADERS ${TYPEFRAME_HEADER_ONLY_HEADERS})
foreach(_source IN LISTS TYPEFRAME_SOURCES)
  string(REGEX REPLACE "\\.cpp$" ".h" _header "${_source}")
  if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/${_header})
    list(APPEND TYPEFRAME_PUBLIC_HEADERS ${_header})
  endif()
endforeach()
list(REMOVE_DUPLICATES TYPEFRAME_PUBLIC_HEADERS)
list(SORT TYPEFRAME_PUBLIC_HEADERS)

# Copies the public headers into a staged include tree for installation,
# turning every project include into its installed spelling:
#
#   #include "core/OTFile.h"  ->  #include "typeframe/core/OTFile.h"
#
# In the source tree src/ is the include root and headers name each other by
# folder. Installed, they sit under <prefix>/include/typeframe and hosts put
# only <prefix>/include on their include path, so that no folder called base/
# or core/ lands at the top of it. Nothing else in a header changes: system
# and standard includes, and includes of a file beside the header, are left
# as they are.
#
#   cmake -DSOURCE_DIR=<src> -DSTAGE_DIR=<dir> -DHEADER_LIST=<file>
#         [-DSTAMP=<file>] -P StageHeaders.cmake
#
# HEADER_LIST holds one header a line, relative to SOURCE_DIR. The project's
# folders are the first path components found in that list, so a new folder
# under src/ is picked up as soon as one of its headers is listed. A staged
# header is only written when its text changes, and staged headers that are
# no longer listed are removed, so STAGE_DIR holds exactly the listed headers.
cmake_minimum_required(VERSION 3.25)

foreach(_var SOURCE_DIR STAGE_DIR HEADER_LIST)
  if(NOT DEFINED ${_var})
    message(FATAL_ERROR "StageHeaders.cmake: -D${_var}=... is required")
  endif()
endforeach()

file(STRINGS "${HEADER_LIST}" _headers)
list(REMOVE_ITEM _headers "")

set(_folders "")
foreach(_header IN LISTS _headers)
  if(_header MATCHES "^([A-Za-z0-9_]+)/")
    list(APPEND _folders "${CMAKE_MATCH_1}")
  endif()
endforeach()
list(REMOVE_DUPLICATES _folders)
list(SORT _folders)
list(JOIN _folders "|" _folder_alternatives)

foreach(_header IN LISTS _headers)
  set(_in "${SOURCE_DIR}/${_header}")
  set(_out "${STAGE_DIR}/${_header}")
  if(NOT EXISTS "${_in}")
    message(FATAL_ERROR "StageHeaders.cmake: listed header ${_header} is not in ${SOURCE_DIR}")
  endif()
  file(READ "${_in}" _text)
  if(_folders)
    # CMake's regular expressions have no line anchors: a leading line feed
    # lets the first line match like every other, and is dropped afterwards.
    string(REGEX REPLACE "\n([ \t]*#[ \t]*include[ \t]*\")(${_folder_alternatives})/"
      "\n\\1typeframe/\\2/" _text "\n${_text}")
    string(SUBSTRING "${_text}" 1 -1 _text)
  endif()
  set(_old "")
  if(EXISTS "${_out}")
    file(READ "${_out}" _old)
  endif()
  if(NOT EXISTS "${_out}" OR NOT _old STREQUAL _text)
    file(WRITE "${_out}" "${_text}")
  endif()
endforeach()

file(GLOB_RECURSE _staged RELATIVE "${STAGE_DIR}" "${STAGE_DIR}/*")
foreach(_file IN LISTS _staged)
  if(NOT _file IN_LIST _headers)
    file(REMOVE "${STAGE_DIR}/${_file}")
  endif()
endforeach()

if(DEFINED STAMP)
  file(TOUCH "${STAMP}")
endif()

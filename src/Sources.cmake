# Every library source, listed by name so that adding a class is a visible change.
set(TYPEFRAME_BASE_SOURCES
  base/CharTraits.cpp
  base/Counted.cpp
  base/Dispatch.cpp
  base/FileInStream.cpp
  base/FileOutStream.cpp
  base/FileSystem.cpp
  base/Format.cpp
  base/IDTag.cpp
  base/InStreamSeekable.cpp
  base/MemoryInStream.cpp
  base/MemoryOutStream.cpp
  base/Path.cpp
  base/String.cpp
  base/ToString.cpp
  base/Trace.cpp
)

set(TYPEFRAME_CORE_SOURCES
  core/BigEndianBuffer.cpp
  core/DirectoryEntry.cpp
  core/OTFile.cpp
  core/OTFont.cpp
  core/OTTable.cpp
  core/OffsetTable.cpp
  core/TTCHeader.cpp
  core/TableManager.cpp
  core/Tag.cpp
  core/Util.cpp
)

set(TYPEFRAME_TABLES_SOURCES
  tables/OTheadTable.cpp
  tables/OThheaTable.cpp
  tables/OTmaxpTable.cpp
  tables/OTnameTable.cpp
  tables/OTvheaTable.cpp
  tables/StringEncoding.cpp
)

set(TYPEFRAME_VARIATIONS_SOURCES
  variations/DeltaSetIndexMap.cpp
  variations/ItemVariationStore.cpp
  variations/OTHVARTable.cpp
  variations/OTMVARTable.cpp
  variations/OTVVARTable.cpp
  variations/OTavarTable.cpp
  variations/OTfvarTable.cpp
)

set(TYPEFRAME_INSTANCER_SOURCES
  instancer/ApplyMetricVariations.cpp
  instancer/FontInstancer.cpp
)

set(TYPEFRAME_SOURCES
  ${TYPEFRAME_BASE_SOURCES}
  ${TYPEFRAME_CORE_SOURCES}
  ${TYPEFRAME_TABLES_SOURCES}
  ${TYPEFRAME_VARIATIONS_SOURCES}
  ${TYPEFRAME_INSTANCER_SOURCES}
)

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
  core/TableRegistry.cpp
  core/Tag.cpp
  core/Util.cpp
)

set(TYPEFRAME_TABLES_SOURCES
  tables/OTOS2Table.cpp
  tables/OTgaspTable.cpp
  tables/AdobeGlyphList2.cpp
  tables/AdobeGlyphListData.cpp
  tables/MacGlyphList.cpp
  tables/OTcvtTable.cpp
  tables/OTfpgmTable.cpp
  tables/OTheadTable.cpp
  tables/OThheaTable.cpp
  tables/OThmtxTable.cpp
  tables/OTmaxpTable.cpp
  tables/OTnameTable.cpp
  tables/OTpostTable.cpp
  tables/OTprepTable.cpp
  tables/OTVORGTable.cpp
  tables/OTvheaTable.cpp
  tables/OTvmtxTable.cpp
  tables/StringEncoding.cpp
  tables/UnicodeData.cpp
)

set(TYPEFRAME_TRUETYPE_SOURCES
  truetype/Glyf.cpp
  truetype/GlyfComponent.cpp
  truetype/IContourInterface.cpp
  truetype/OTglyfTable.cpp
  truetype/OTlocaTable.cpp
  truetype/Parser.cpp
  truetype/TTCompiler.cpp
)

set(TYPEFRAME_VARIATIONS_SOURCES
  variations/DeltaSetIndexMap.cpp
  variations/ItemVariationStore.cpp
  variations/OTHVARTable.cpp
  variations/OTMVARTable.cpp
  variations/OTVVARTable.cpp
  variations/OTavarTable.cpp
  variations/OTcvarTable.cpp
  variations/OTfvarTable.cpp
  variations/OTgvarTable.cpp
  variations/TupleVariation.cpp
  variations/TupleVariationStore.cpp
)

set(TYPEFRAME_INSTANCER_SOURCES
  instancer/ApplyGlyphVariations.cpp
  instancer/ApplyMetricVariations.cpp
  instancer/FontInstancer.cpp
)

set(TYPEFRAME_PACKING_SOURCES
  packing/GraphNode.cpp
  packing/GraphNodeVisitable.cpp
  packing/GraphNodeVisitor.cpp
  packing/SubTable.cpp
  packing/TableGraph.cpp
  packing/TableGraphWriter.cpp
  packing/TableOffset.cpp
)

# Layout tables and their common structures.
set(TYPEFRAME_LAYOUT_COMMON_SOURCES
  layout/ClassDefinitionTable.cpp
  layout/CoverageTable.cpp
  layout/DeviceTable.cpp
)

set(TYPEFRAME_LAYOUT_SCRIPT_SOURCES
  layout/LangSys.cpp
  layout/LangSysRecord.cpp
  layout/ScriptList.cpp
  layout/ScriptTable.cpp
)

set(TYPEFRAME_LAYOUT_FEATURE_SOURCES
  layout/FeatureList.cpp
  layout/FeatureParams.cpp
  layout/FeatureTable.cpp
  layout/cvxxFeatureParams.cpp
  layout/sizeFeatureParams.cpp
  layout/ssxxFeatureParams.cpp
)

set(TYPEFRAME_LAYOUT_LOOKUP_SOURCES
  layout/LookupList.cpp
  layout/LookupSubTable.cpp
  layout/LookupSubTableOwner.cpp
  layout/LookupTable.cpp
)

set(TYPEFRAME_LAYOUT_GPOS_BASIC_SOURCES
  layout/AnchorTable.cpp
  layout/CursivePosLookup.cpp
  layout/PairPosLookup.cpp
  layout/PairSetTable.cpp
  layout/SinglePosLookup.cpp
  layout/ValueRecord.cpp
)

set(TYPEFRAME_LAYOUT_GPOS_MARK_SOURCES
  layout/BaseArrayTable.cpp
  layout/ExtensionLookup.cpp
  layout/ExtensionPosLookup.cpp
  layout/LigatureArrayTable.cpp
  layout/LigatureAttachTable.cpp
  layout/Mark2ArrayTable.cpp
  layout/MarkArrayTable.cpp
  layout/MarkLigPosLookup.cpp
  layout/MarkMarkPosLookup.cpp
  layout/MarkToBasePosLookup.cpp
)

# Context and chained context subtables, shared by GSUB and GPOS.
set(TYPEFRAME_LAYOUT_CONTEXT_SOURCES
  layout/ChainedSequenceContextTable.cpp
  layout/GPOSChainedSequenceContextTable.cpp
  layout/GPOSSequenceContextTable.cpp
  layout/GSUBChainedSequenceContextTable.cpp
  layout/GSUBSequenceContextTable.cpp
  layout/SequenceContextTable.cpp
)

# The GPOS table.
set(TYPEFRAME_LAYOUT_GPOS_TABLE_SOURCES
  layout/LayoutTable.cpp
  layout/OTGPOSTable.cpp
)

# GSUB subtables.
set(TYPEFRAME_LAYOUT_GSUB_SOURCES
  layout/AlternateSubstLookup.cpp
  layout/ExtensionSubLookup.cpp
  layout/LigatureSubstLookup.cpp
  layout/MultipleSubstLookup.cpp
  layout/ReverseChainSingleSubstTable.cpp
  layout/SingleSubstLookup.cpp
)

# The GSUB table.
set(TYPEFRAME_LAYOUT_GSUB_TABLE_SOURCES
  layout/OTGSUBTable.cpp
)

# The GDEF table.
set(TYPEFRAME_LAYOUT_GDEF_SOURCES
  layout/AttachmentPointListTable.cpp
  layout/LigatureCaretListTable.cpp
  layout/MarkGlyphSetsTable.cpp
  layout/OTGDEFTable.cpp
)

# The BASE table.
set(TYPEFRAME_LAYOUT_BASE_SOURCES
  layout/OTBASETable.cpp
)

set(TYPEFRAME_LAYOUT_FEATURE_VARIATIONS_SOURCES
  layout/FeatureVariationsTable.cpp
)

set(TYPEFRAME_SOURCES
  ${TYPEFRAME_BASE_SOURCES}
  ${TYPEFRAME_CORE_SOURCES}
  ${TYPEFRAME_TABLES_SOURCES}
  ${TYPEFRAME_TRUETYPE_SOURCES}
  ${TYPEFRAME_VARIATIONS_SOURCES}
  ${TYPEFRAME_INSTANCER_SOURCES}
  ${TYPEFRAME_PACKING_SOURCES}
  ${TYPEFRAME_LAYOUT_COMMON_SOURCES}
  ${TYPEFRAME_LAYOUT_SCRIPT_SOURCES}
  ${TYPEFRAME_LAYOUT_CONTEXT_SOURCES}
  ${TYPEFRAME_LAYOUT_GPOS_TABLE_SOURCES}
  ${TYPEFRAME_LAYOUT_GSUB_SOURCES}
  ${TYPEFRAME_LAYOUT_GSUB_TABLE_SOURCES}
  ${TYPEFRAME_LAYOUT_GDEF_SOURCES}
  ${TYPEFRAME_LAYOUT_BASE_SOURCES}
  ${TYPEFRAME_LAYOUT_FEATURE_SOURCES}
  ${TYPEFRAME_LAYOUT_LOOKUP_SOURCES}
  ${TYPEFRAME_LAYOUT_GPOS_BASIC_SOURCES}
  ${TYPEFRAME_LAYOUT_GPOS_MARK_SOURCES}
  ${TYPEFRAME_LAYOUT_FEATURE_VARIATIONS_SOURCES}
)

#pragma once

// Free functions that carry glyph and control-value variations into static
// data: new outlines in a copy of 'glyf', advances and side bearings from
// the moved phantom points in 'hmtx' and 'vmtx', new values in a copy of
// 'cvt '. Coordinates are normalised, one per 'fvar' axis.
//
// ApplyGVar runs its two loops over the glyphs in parallel: the first reads
// the font's 'glyf' and writes new glyphs into the copy, one name per
// iteration; the second, started when the first has finished (a composite's
// bounds read its components), reads the copy and writes the metrics of its
// own glyph index.

#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/Geometry.h"
#include "core/OTFont.h"
#include "truetype/Glyf.h"
#include "variations/TupleVariation.h"
#include "variations/TupleVariationStore.h"

namespace Typeframe {

// False without 'gvar' or 'glyf'.
bool ApplyGVar(Bedrock::Counted<OTFont> font, const std::vector<Fixed2_14>& coordinates);
// A new glyph with the variations applied; null for a null glyph or store.
Bedrock::Counted<Glyf> ApplyGVar(Bedrock::Counted<const Glyf> glyph, Bedrock::Counted<TupleVariationStore> store,
                                 const std::vector<Fixed2_14>& coordinates);
Bedrock::Counted<Glyf> ApplyGVarSimple(Bedrock::Counted<const Glyf> glyph, Bedrock::Counted<TupleVariationStore> store,
                                       const std::vector<Fixed2_14>& coordinates);
Bedrock::Counted<Glyf> ApplyGVarComposite(Bedrock::Counted<const Glyf> glyph,
                                          Bedrock::Counted<TupleVariationStore> store,
                                          const std::vector<Fixed2_14>& coordinates);
// Appends to `out` the points of one contour, numbered from `start`, each
// moved by the sum over the tuples of scalar times its delta (own or
// inferred). Nothing is rounded. Always true.
bool ApplyGVarCoords(int start, const std::vector<Bedrock::PointT<double>>& points,
                     std::vector<Bedrock::PointT<double>>& out, Bedrock::Counted<TupleVariationStore> store,
                     const std::vector<Fixed2_14>& coordinates);
// False without 'cvar' or 'cvt '.
bool ApplyCVar(Bedrock::Counted<OTFont> font, const std::vector<Fixed2_14>& coordinates);
// Always true.
bool ApplyCVarValues(const std::vector<short>& values, std::vector<short>& out,
                     Bedrock::Counted<TupleVariationStore> store, const std::vector<Fixed2_14>& coordinates);

// How much of a tuple applies at the location, as used for glyph points
// (quotients in doubles) and for control values (quotients in 2.14).
double GetGlyphTupleScalar(const TupleVariation& tuple, const std::vector<Fixed2_14>& coordinates);
double GetCvtTupleScalar(const TupleVariation& tuple, const std::vector<Fixed2_14>& coordinates);

}  // namespace Typeframe

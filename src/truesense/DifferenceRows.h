// Completion of the half-size mosaic of colour differences, by fixed means along rows and then along columns:
//
//     B G B G ...
//     G R G R ...
//
// Rows have two or more sites. The mask `alternate` has all bits at odd places of the first n + 1.
#ifndef ORV_TRUESENSE_DIFFERENCEROWS_H
#define ORV_TRUESENSE_DIFFERENCEROWS_H

namespace orv {

// One row of `n` sites filled along itself: `chroma` the one of red and blue that it has, complete, and `green`, which
// the end without a green site leaves as it is.
template <class Lane>
void FillAlongRow(const Lane* mosaic, int row, int n, const Lane* alternate, Lane* chroma, Lane* green);

// The chroma that a row does not have, from the rows above and below; on the first and last row both are the same.
template <class Lane>
void FillOtherChroma(const Lane* up, const Lane* down, int n, Lane* other);

// Green of a row, from the rows that FillAlongRow made. On a rim, the first or last row, `up` and `down` are the same.
template <class Lane>
void FillGreen(const Lane* up, const Lane* along, const Lane* down, int row, bool rim, int n, const Lane* alternate,
               Lane* green);

}  // namespace orv

#endif

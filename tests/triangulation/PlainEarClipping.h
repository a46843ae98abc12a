#pragma once

// The reference ear clipping of the tests, with the contracts of the library's functions of the
// same names in PolygonTriangulation.h.

#include "PolygonTriangulation.h"

namespace Vardune::Qel::Plain {

int TriangulatePolygon2D(int count, const Vector2f *points, bool reversed, int *corners);
void UpdateEarState(int i, int count, const Vector2f *points, EarVertex *ring);

} // namespace Vardune::Qel::Plain

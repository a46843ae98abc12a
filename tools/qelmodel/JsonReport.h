#pragma once

#include "ModelReport.h"

#include <QByteArray>

// The report as one indented JSON object with exactly the keys file, ok, error, bytes,
// load_ms, vertices, indices, triangles, index_type, draws, attributes, groups, bounds and
// warnings (the README describes each). Floats are written in their shortest form that reads
// back as the same float, so "Kd 0.9" gives 0.9, not 0.899999976.
QByteArray jsonReport(const ModelReport &report);

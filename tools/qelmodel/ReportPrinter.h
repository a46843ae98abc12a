#pragma once

#include "ModelReport.h"

#include <QTextStream>

// The report as a person reads it: a summary, then tables of attributes and material groups,
// then the library's warnings.
void printReport(const ModelReport &report, QTextStream &out);

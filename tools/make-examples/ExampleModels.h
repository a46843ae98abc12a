#pragma once

#include <QColor>
#include <QDir>

// The example models under examples/, each written into `directory` with the files it needs.
// Every one returns false when a file cannot be written.
namespace ExampleModels {

// The checkerboard of the textured cube: 5 × 5 cells of 16 pixels, the middle cell (and every
// cell whose column plus row is even) in centreColour(), the others in otherColour().
QColor checkerCentreColour();
QColor checkerOtherColour();

bool writeTexturedCube(const QDir &directory);
bool writeStar(const QDir &directory);
bool writeTorus(const QDir &directory);
bool writeBlocks(const QDir &directory);

} // namespace ExampleModels

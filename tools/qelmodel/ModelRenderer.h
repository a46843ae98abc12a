#pragma once

#include "RenderCamera.h"

#include <QelGL/GPUModel.h>

#include <QColor>
#include <QImage>
#include <QSize>
#include <QString>

// The colour of every pixel that no triangle covers.
QColor renderBackground();

// Draws every draw of the model with its own indirect commands (glMultiDrawElementsIndirect,
// one command per call so that each material group gets its "Kd" and "map_Kd") into an
// offscreen multisampled framebuffer with depth, and returns the picture. Needs a current
// OpenGL 4.3 core context, the one the model was uploaded into; returns a null image with
// `error` set when the context or the framebuffer cannot do it.
QImage renderModel(const Vardune::Qel::GPUModel &model, const RenderCamera &camera, const QSize &size, QString &error);

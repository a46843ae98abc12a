#pragma once

#include <QOffscreenSurface>
#include <QOpenGLContext>

// An OpenGL context current on the calling thread for the tool's lifetime: a real GPU where
// there is one, Mesa's llvmpipe under Xvfb otherwise.
class OffscreenContext
{
public:
    OffscreenContext();

    bool isValid() const { return _valid; }

private:
    QOffscreenSurface _surface;
    QOpenGLContext _context;
    bool _valid = false;
};

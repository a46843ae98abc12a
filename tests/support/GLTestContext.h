#pragma once

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions_4_5_Core>

// A real OpenGL context (Mesa's llvmpipe under Xvfb on CI), current on the calling thread for
// the lifetime of the object. Tests that need OpenGL fail, never skip, when none can be made.
class GLTestContext
{
public:
    GLTestContext();
    ~GLTestContext();

    GLTestContext(const GLTestContext &) = delete;
    GLTestContext &operator=(const GLTestContext &) = delete;

    bool isValid() const { return _valid; }
    QOpenGLContext *context() { return &_context; }
    // Desktop OpenGL 4.5 entry points, for reading back what the library uploaded.
    QOpenGLFunctions_4_5_Core *functions() const { return _functions; }

    void makeCurrent();
    void doneCurrent();

private:
    QOffscreenSurface _surface;
    QOpenGLContext _context;
    QOpenGLFunctions_4_5_Core *_functions = nullptr;
    bool _valid = false;
};

// Fails the calling test function when the context could not be made.
#define QEL_REQUIRE_GL(context)                                                                            \
    do {                                                                                                   \
        if (!(context).isValid())                                                                          \
            QFAIL("no OpenGL 4.5 core context: run the tests under Xvfb with Mesa (xvfb-run -a ctest)");   \
    } while (false)

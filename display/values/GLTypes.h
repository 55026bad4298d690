#pragma once
// OpenGL's C types. The system header stops at OpenGL 1.1; the later types are declared here just as the registry has
// them, so that a host that also includes a newer header sees identical declarations.

#include "../Framework.h"

#include <GL/gl.h>

#include <cstddef>
#include <cstdint>

// Constants that hosts hand to the library and Windows' own header is too old for, written as the registry writes them.
#ifndef GL_BGR
#define GL_BGR 0x80E0
#endif
#ifndef GL_BGRA
#define GL_BGRA 0x80E1
#endif
#ifndef GL_TEXTURE0
#define GL_TEXTURE0 0x84C0
#endif
#ifndef GL_TEXTURE1
#define GL_TEXTURE1 0x84C1
#endif
#ifndef GL_PROGRAM_POINT_SIZE
#define GL_PROGRAM_POINT_SIZE 0x8642
#endif

/// Calling convention of every OpenGL function.
#define ORRIN_GLAPI APIENTRY

typedef char GLchar;
typedef signed long long int GLsizeiptr;
typedef signed long long int GLintptr;
typedef int64_t GLint64;
typedef uint64_t GLuint64;
typedef struct __GLsync* GLsync; // NOLINT(bugprone-reserved-identifier): the name that every GL header uses
typedef void(ORRIN_GLAPI* GLDEBUGPROC)(GLenum source, GLenum type, GLuint id, GLenum severity, GLsizei length,
                                       const GLchar* message, const void* userParam);

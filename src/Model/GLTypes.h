#pragma once

// OpenGL enumerants that the library uses, without pulling in an OpenGL header.
namespace Vardune::Qel::GLType {

constexpr unsigned int Byte = 0x1400;
constexpr unsigned int UnsignedByte = 0x1401;
constexpr unsigned int Short = 0x1402;
constexpr unsigned int UnsignedShort = 0x1403;
constexpr unsigned int Int = 0x1404;
constexpr unsigned int UnsignedInt = 0x1405;
constexpr unsigned int Float = 0x1406;
constexpr unsigned int Double = 0x140A;
constexpr unsigned int HalfFloat = 0x140B;

constexpr unsigned int Triangles = 0x0004;
constexpr unsigned int ArrayBuffer = 0x8892;
constexpr unsigned int ElementArrayBuffer = 0x8893;
constexpr unsigned int StaticDraw = 0x88E4;

} // namespace Vardune::Qel::GLType

// Checks quote their conditions in reports as OpenGL spells the names; the definition is the
// one OpenGL's headers give, so either may come first.
#ifndef GL_UNSIGNED_INT
#define GL_UNSIGNED_INT 0x1405
#endif

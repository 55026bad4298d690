#include "Mesh.h"

#include <cmath>

namespace OrrinViewer {

namespace {

Position Difference(const Position& to, const Position& from) {
    return {to.x - from.x, to.y - from.y, to.z - from.z};
}

Position Cross(const Position& one, const Position& other) {
    return {one.y * other.z - one.z * other.y, one.z * other.x - one.x * other.z, one.x * other.y - one.y * other.x};
}

} // namespace

std::vector<Position> FindNormals(const Mesh& mesh) {
    std::vector<Position> normals(mesh.positions.size());
    for (const auto& [first, second, third] : mesh.triangles) {
        const Position& corner = mesh.positions[first];
        const Position normal =
            Cross(Difference(mesh.positions[second], corner), Difference(mesh.positions[third], corner));
        for (const std::uint32_t vertex : {first, second, third}) {
            normals[vertex].x += normal.x;
            normals[vertex].y += normal.y;
            normals[vertex].z += normal.z;
        }
    }
    for (Position& normal : normals) {
        const double length = std::hypot(normal.x, normal.y, normal.z);
        normal = length > 0.0 ? Position{normal.x / length, normal.y / length, normal.z / length} : Position{};
    }
    return normals;
}

} // namespace OrrinViewer

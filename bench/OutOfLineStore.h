#pragma once

#include <OrrinDisplay.h>

#include <vector>

/// Stores vertex records by a call that cannot be inlined, as an exported add would.
class RecordStore {
public:
    explicit RecordStore(int capacity) : m_records(static_cast<std::size_t>(capacity)) {}
    void Store(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b, unsigned char a);

private:
    std::vector<KTR::GLDrawGeometry> m_records;
    std::size_t m_slot = 0;
};

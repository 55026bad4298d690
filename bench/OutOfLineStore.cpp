#include "OutOfLineStore.h"

void RecordStore::Store(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b,
                        unsigned char a) {
    KTR::GLDrawGeometry& record = m_records[m_slot];
    record.x = static_cast<float>(x);
    record.y = static_cast<float>(y);
    record.z = static_cast<float>(z);
    record.r = r;
    record.g = g;
    record.b = b;
    record.a = a;
    if (++m_slot == m_records.size()) {
        m_slot = 0;
    }
}

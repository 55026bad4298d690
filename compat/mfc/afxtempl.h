#pragma once
// The part of MFC's array template that the library's interface uses.

#include "afx.h"

#include <vector>

template <typename Type, typename Argument = const Type&> class CArray {
public:
    INT_PTR GetSize() const { return static_cast<INT_PTR>(m_elements.size()); }
    INT_PTR GetCount() const { return GetSize(); }
    bool IsEmpty() const { return m_elements.empty(); }
    void SetSize(INT_PTR size) { m_elements.resize(static_cast<std::size_t>(size)); }
    void RemoveAll() { m_elements.clear(); }
    INT_PTR Add(Argument element) {
        m_elements.push_back(element);
        return GetSize() - 1;
    }
    Type& operator[](INT_PTR index) { return m_elements[static_cast<std::size_t>(index)]; }
    const Type& operator[](INT_PTR index) const { return m_elements[static_cast<std::size_t>(index)]; }
    Type* GetData() { return m_elements.data(); }

private:
    std::vector<Type> m_elements;
};

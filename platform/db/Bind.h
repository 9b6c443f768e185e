#pragma once
// Binding helpers shared by the parts of the database layer.
#include <vector>

#include "platform/db/Backend.h"

namespace dbl {

// Binds `params` to markers 1..n of `st`; returns the number of the next free marker.
inline int bindParams(Statement& st, const std::vector<Param>& params) {
    int index = 1;
    for (const Param& p : params) {
        if (p.type == Param::kInt)
            st.bindInt64(index, p.i);
        else if (p.type == Param::kText)
            st.bindText(index, p.s);
        else
            st.bindNull(index);
        ++index;
    }
    return index;
}

}  // namespace dbl

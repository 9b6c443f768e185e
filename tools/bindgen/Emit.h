#pragma once
// Pieces of a binding header, shared by the emitters.
#include <ostream>

#include "Model.h"

namespace bindgen {
// "a, b, c": the column names in column order.
std::string columnList(const Object& object);
void emitRecord(std::ostream& out, const Object& object);
void emitRow(std::ostream& out, const Object& object);
}  // namespace bindgen

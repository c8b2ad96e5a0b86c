#pragma once
// The arrays of one search. The storage is claimed with the total that the method is known by; the
// matrices and the row list, which have room for what a search takes up, are separate.

#include "grg/line_search.h"

namespace tarnix::core {

struct SearchStorage {
  // False, with the message printed and errorFlag set, when the storage is too small.
  [[nodiscard]] bool claim(int n, int m, int satisfied, int active);

  SearchWork work{};
  IndexVector tracked, binding, independent, dependent, rows;
  MatrixView J, Jinv;

 private:
  WorkFrame doubles_;
  IndexFrame lists_;
  PrivateFrame<double> matrices_{session().privateDoubles};
  PrivateFrame<int32_t> rowList_{session().privateIndices};
};

}  // namespace tarnix::core

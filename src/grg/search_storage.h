#pragma once
// The arrays of one search, claimed from the work storage.

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
  IndexFrame lists_, rowList_;
};

}  // namespace tarnix::core

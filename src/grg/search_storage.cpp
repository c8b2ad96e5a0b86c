#include "grg/search_storage.h"

#include <tarnix/storage.hpp>

#include "trace/claim.h"

namespace tarnix::core {

bool SearchStorage::claim(int n, int m, int satisfied, int active) {
  const storage::Need need = storage::grgSearch(n, m, satisfied, active);
  if (!trace::claim(doubles_, need.doubles) || !trace::claim(lists_, need.integers)) return false;
  // The row list may exceed n where many constraints meet.
  const int room = satisfied + active + Saturation::maxPasses;
  const int64_t cells = int64_t{room} * room;
  if (!matrices_.reserve(2 * cells) || !rowList_.reserve(room)) return false;
  work.bestX = doubles_.vector(n);
  work.previousX = doubles_.vector(n);
  work.bestF = doubles_.vector(m);
  work.previousF = doubles_.vector(m);
  tracked = lists_.vector(m);
  binding = lists_.vector(active + Saturation::maxPasses);
  independent = lists_.vector(n);
  dependent = lists_.vector(n);
  J = {matrices_.carve(cells), room, room, room};
  Jinv = {matrices_.carve(cells), room, room, room};
  rows = rowList_.vector(room);
  return true;
}

}  // namespace tarnix::core

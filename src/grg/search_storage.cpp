#include "grg/search_storage.h"

#include "trace/claim.h"

namespace tarnix::core {

bool SearchStorage::claim(int n, int m, int satisfied, int active) {
  // The basis has room for one constraint more than can be binding now, and for as many as the
  // saturation of one trial can take up; the row list may exceed n where many constraints meet.
  const int k = satisfied + active + 1;
  const int room = k + Saturation::maxPasses - 1;
  const int64_t vectors = 2 * int64_t{n} + 2 * int64_t{m} + 1;
  // First what the method is known to need, then with the room.
  for (const int64_t order : {k, room})
    if (!trace::claim(doubles_, vectors + 2 * order * order)) return false;
  if (!trace::claim(lists_, 3 * int64_t{n} + m + active + 6)) return false;
  if (!trace::claim(rowList_, room)) return false;
  work.bestX = doubles_.vector(n);
  work.previousX = doubles_.vector(n);
  work.bestF = doubles_.vector(m);
  work.previousF = doubles_.vector(m);
  tracked = lists_.vector(m);
  binding = lists_.vector(active + Saturation::maxPasses);
  independent = lists_.vector(n);
  dependent = lists_.vector(n);
  J = {doubles_.carve(int64_t{room} * room), room, room, room};
  Jinv = {doubles_.carve(int64_t{room} * room), room, room, room};
  rows = rowList_.vector(room);
  return true;
}

}  // namespace tarnix::core

#include "state/settings.h"

namespace tarnix::core {

void storeDefaults() {
  settings->intStorageCapacity = 5000;
  settings->dblStorageCapacity = 40000;
  settings->intStorageUsed = 0;
  settings->dblStorageUsed = 0;
  if (int32_t* first = session().indices.fixed) *first = 0;
  settings->diffMethod = 1;
  settings->nGradEval = 0;
  requestStop(session(), 0);
  settings->nNewton1 = 0;
  settings->nNewton2 = 0;
  settings->grgParam1 = 1.0;
  settings->grgSearchParam1 = 0.02;
  settings->grgSearchParam2 = 0.0001;
  settings->printLevel = 0;
  settings->maxStepNorm = 1.0;
  settings->errorFlag = logicalFalse;
  settings->nFunEval = 0;
  settings->nIter = 0;
  settings->zeroTol = 1e-7;
  settings->bigValue = 1e30;
  settings->convTolGrg = 0.001;
  settings->convTol = 0.001;
  settings->diffPert = 0.0001;
}

}  // namespace tarnix::core

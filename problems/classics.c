/* Classics from elsewhere: functions of one variable, sums of squares and valleys in a box,
 * problems with several minima, minimax problems written with their largest function as a
 * variable, and some that are nearly degenerate. */
#include <math.h>

#include "family.h"

static const double pi = 3.14159265358979323846;

/* ---- one variable ---- */

static EVALUATION(oneSines) {
  *f = sin(x[0]) + sin(10 * x[0] / 3);
}

static EVALUATION(oneDecay) {
  *f = -(16 * sq(x[0]) - 24 * x[0] + 5) * exp(-x[0]);
}

static EVALUATION(oneSextic) {
  const double a = x[0];
  *f = 0.1 + a * (-1 + a * (-3.95 + a * (7.1 + a * (0.4875 + a * (-2.08 + a / 6)))));
}

static EVALUATION(oneOmega) {
  *f = x[0];
  ineq[0] = exp(-x[0]) - x[0];
}

static EVALUATION(oneWallis) {
  *f = sq(x[0]);
  eq[0] = (sq(x[0]) - 2) * x[0] - 5;
}

static EVALUATION(oneKepler) {
  *f = sq(x[0] - 3);
  ineq[0] = x[0] - 0.9 * sin(x[0]) - 1;
}

static EVALUATION(oneCan) {
  *f = 2 * pi * sq(x[0]) + 2000 / x[0];
  ineq[0] = 100 / (pi * sq(x[0])) - 1;
}

static EVALUATION(oneMain) {
  *f = 200 * x[0] * sqrt(x[0]) + 4 / (sq(x[0]) * cube(x[0]));
  ineq[0] = 0.8 / (pi * sq(x[0])) - 1;
}

/* ---- sums of squares ---- */

static EVALUATION(freudensteinRoth) {
  const double a = x[0], b = x[1];
  *f = sq(a - 13 + 5 * sq(b) - cube(b) - 2 * b) + sq(a - 29 + cube(b) + sq(b) - 14 * b);
}

static EVALUATION(beale) {
  *f = sq(1.5 - x[0] + x[0] * x[1]) + sq(2.25 - x[0] + x[0] * sq(x[1])) +
       sq(2.625 - x[0] + x[0] * cube(x[1]));
}

static EVALUATION(jennrichSampson) {
  *f = 0;
  for (int i = 1; i <= 10; ++i) *f += sq(2 + 2 * i - exp(i * x[0]) - exp(i * x[1]));
}

static EVALUATION(bard) {
  static const double y[15] = {0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39,
                               0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39};
  *f = 0;
  for (int i = 0; i < 15; ++i) {
    const double u = i + 1, v = 15 - i, w = u < v ? u : v;
    *f += 100 * sq(y[i] - x[0] - u / (v * x[1] + w * x[2]));
  }
}

static EVALUATION(boxThree) {
  *f = 0;
  for (int i = 1; i <= 10; ++i)
    *f += sq(exp(-0.1 * i * x[0]) - exp(-0.1 * i * x[1]) - x[2] * (exp(-0.1 * i) - exp(-i)));
}

static EVALUATION(powellSingular) {
  *f = sq(x[0] + 10 * x[1]) + 5 * sq(x[2] - x[3]) + sq(sq(x[1] - 2 * x[2])) +
       10 * sq(sq(x[0] - x[3]));
}

static EVALUATION(kowalikOsborne) {
  static const double y[11] = {0.1957, 0.1947, 0.1735, 0.1600, 0.0844, 0.0627,
                               0.0456, 0.0342, 0.0323, 0.0235, 0.0246};
  static const double u[11] = {4, 2, 1, 0.5, 0.25, 0.167, 0.125, 0.1, 0.0833, 0.0714, 0.0625};
  *f = 0;
  for (int i = 0; i < 11; ++i)
    *f += 1000 * sq(y[i] - x[0] * u[i] * (u[i] + x[1]) / (u[i] * (u[i] + x[2]) + x[3]));
}

static EVALUATION(brownDennis) {
  *f = 0;
  for (int i = 1; i <= 20; ++i) {
    const double t = 0.2 * i;
    *f += sq(sq(x[0] + t * x[1] - exp(t)) + sq(x[2] + x[3] * sin(t) - cos(t))) / 1000;
  }
}

static EVALUATION(biggsExp6) {
  *f = 0;
  for (int i = 1; i <= 13; ++i) {
    const double t = 0.1 * i, y = exp(-t) - 5 * exp(-10 * t) + 3 * exp(-4 * t);
    *f += sq(x[2] * exp(-t * x[0]) - x[3] * exp(-t * x[1]) + x[5] * exp(-t * x[4]) - y);
  }
}

static EVALUATION(watson6) {
  double sum = sq(x[0]) + sq(x[1] - sq(x[0]) - 1);
  for (int i = 1; i < 30; ++i) {
    const double t = i / 29.0;
    double value = 0, slope = 0;
    for (int j = 5; j >= 0; --j) {
      slope = slope * t + value;
      value = value * t + x[j];
    }
    sum += sq(slope - sq(value) - 1);
  }
  *f = 100 * sum;
}

static EVALUATION(penalty10) {
  double squares = 0, distance = 0;
  for (int i = 0; i < 10; ++i) {
    squares += sq(x[i]);
    distance += sq(x[i] - 1);
  }
  *f = 0.1 * distance + 1e4 * sq(squares - 0.25);
}

static EVALUATION(variablyDimensioned50) {
  double squares = 0, sum = 0;
  for (int i = 0; i < 50; ++i) {
    squares += sq(x[i] - 1);
    sum += (i + 1) * (x[i] - 1);
  }
  *f = squares + sq(sum) + sq(sq(sum));
}

static EVALUATION(boundaryValue20) {
  const double h = 1.0 / 21;
  *f = 0;
  for (int i = 0; i < 20; ++i) {
    const double left = i > 0 ? x[i - 1] : 0, right = i < 19 ? x[i + 1] : 0;
    *f += 160000 * sq(2 * x[i] - left - right + 0.5 * sq(h) * cube(x[i] + (i + 1) * h + 1));
  }
}

static void broydenTridiagonal(int n, const double* x, double* f) {
  *f = 0;
  for (int i = 0; i < n; ++i) {
    const double left = i > 0 ? x[i - 1] : 0, right = i < n - 1 ? x[i + 1] : 0;
    *f += sq((3 - 2 * x[i]) * x[i] - left - 2 * right + 1);
  }
}
static EVALUATION(broydenTridiagonal30) {
  broydenTridiagonal(30, x, f);
}
static EVALUATION(broydenTridiagonal100) {
  broydenTridiagonal(100, x, f);
}

static EVALUATION(broydenBanded60) {
  *f = 0;
  for (int i = 0; i < 60; ++i) {
    double residual = x[i] * (2 + 5 * sq(x[i])) + 1 + x[i] * (1 + x[i]);
    for (int j = i < 5 ? 0 : i - 5; j <= i + 1 && j < 60; ++j) residual -= x[j] * (1 + x[j]);
    *f += sq(residual);
  }
}

/* Shifted Chebyshev polynomials, whose means over the points shall be their integrals. */
static EVALUATION(chebyquad8) {
  double mean[9] = {0};
  for (int j = 0; j < 8; ++j) {
    const double t = 2 * x[j] - 1;
    double before = 1, now = t;
    for (int i = 1; i <= 8; ++i) {
      mean[i] += now / 8;
      const double next = 2 * t * now - before;
      before = now;
      now = next;
    }
  }
  *f = 0;
  for (int i = 1; i <= 8; ++i) *f += 100 * sq(mean[i] + (i % 2 == 0 ? 1.0 / (i * i - 1) : 0));
}

static EVALUATION(rosenbrockPairs40) {
  *f = 0;
  for (int i = 0; i < 40; i += 2) *f += 100 * sq(x[i + 1] - sq(x[i])) + sq(1 - x[i]);
}

/* ---- several minima ---- */

static EVALUATION(sixHumpCamel) {
  const double a = sq(x[0]), b = sq(x[1]);
  *f = (4 - 2.1 * a + sq(a) / 3) * a + x[0] * x[1] + 4 * (b - 1) * b;
}

static EVALUATION(goldsteinPrice) {
  const double a = x[0], b = x[1];
  *f = log(1 + sq(a + b + 1) * (19 - 14 * a + 3 * sq(a) - 14 * b + 6 * a * b + 3 * sq(b))) +
       log(30 + sq(2 * a - 3 * b) * (18 - 32 * a + 12 * sq(a) + 48 * b - 36 * a * b + 27 * sq(b)));
}

static EVALUATION(hartmann6) {
  static const double weight[4] = {1, 1.2, 3, 3.2};
  static const double width[4][6] = {{10, 3, 17, 3.5, 1.7, 8},
                                     {0.05, 10, 17, 0.1, 8, 14},
                                     {3, 3.5, 1.7, 10, 17, 8},
                                     {17, 8, 0.05, 10, 0.1, 14}};
  static const double center[4][6] = {{0.1312, 0.1696, 0.5569, 0.0124, 0.8283, 0.5886},
                                      {0.2329, 0.4135, 0.8307, 0.3736, 0.1004, 0.9991},
                                      {0.2348, 0.1451, 0.3522, 0.2883, 0.3047, 0.6650},
                                      {0.4047, 0.8828, 0.8732, 0.5743, 0.1091, 0.0381}};
  *f = 0;
  for (int k = 0; k < 4; ++k) {
    double distance = 0;
    for (int j = 0; j < 6; ++j) distance += width[k][j] * sq(x[j] - center[k][j]);
    *f -= weight[k] * exp(-distance);
  }
}

static EVALUATION(g01) {
  *f = 0;
  for (int i = 0; i < 4; ++i) *f += 5 * x[i] * (1 - x[i]);
  for (int i = 4; i < 13; ++i) *f -= x[i];
  ineq[0] = 2 * x[0] + 2 * x[1] + x[9] + x[10] - 10;
  ineq[1] = 2 * x[0] + 2 * x[2] + x[9] + x[11] - 10;
  ineq[2] = 2 * x[1] + 2 * x[2] + x[10] + x[11] - 10;
  for (int i = 0; i < 3; ++i) {
    ineq[3 + i] = x[9 + i] - 8 * x[i];
    ineq[6 + i] = x[9 + i] - 2 * x[3 + 2 * i] - x[4 + 2 * i];
  }
}

static EVALUATION(g03) {
  double product = 1;
  eq[0] = -1;
  for (int i = 0; i < 10; ++i) {
    product *= x[i];
    eq[0] += sq(x[i]);
  }
  *f = -1e5 * product;
}

static EVALUATION(g08) {
  *f = -100 * cube(sin(2 * pi * x[0])) * sin(2 * pi * x[1]) / (cube(x[0]) * (x[0] + x[1]));
  ineq[0] = sq(x[0]) - x[1] + 1;
  ineq[1] = 1 - x[0] + sq(x[1] - 4);
}

static EVALUATION(g11) {
  *f = sq(x[0]) + sq(x[1] - 1);
  eq[0] = x[1] - sq(x[0]);
}

/* Pooling: sources x1, x2 into a pool of sulphur content x9, streams to two products. */
static EVALUATION(g23) {
  *f = 6 * x[0] + 16 * x[1] + 10 * (x[5] + x[6]) - 9 * x[4] - 15 * x[7];
  eq[0] = x[0] + x[1] - x[2] - x[3];
  eq[1] = 0.03 * x[0] + 0.01 * x[1] - x[8] * (x[2] + x[3]);
  eq[2] = x[2] + x[5] - x[4];
  eq[3] = x[3] + x[6] - x[7];
  ineq[0] = x[8] * x[2] + 0.02 * x[5] - 0.025 * x[4];
  ineq[1] = x[8] * x[3] + 0.02 * x[6] - 0.015 * x[7];
}

static EVALUATION(g24) {
  const double a = x[0], a2 = sq(a);
  *f = -a - x[1];
  ineq[0] = x[1] - 2 - 2 * a2 * (a2 - 4 * a + 4);
  ineq[1] = x[1] - 36 - 4 * a * (cube(a) - 8 * a2 + 22 * a - 24);
}

static EVALUATION(concaveKnapsack) {
  static const double gain[5] = {42, 44, 45, 47, 47.5}, size[5] = {20, 12, 11, 7, 4};
  *f = 0;
  ineq[0] = -40;
  for (int i = 0; i < 5; ++i) {
    *f += gain[i] * x[i] - 50 * sq(x[i]);
    ineq[0] += size[i] * x[i];
  }
}

static EVALUATION(concaveSix) {
  *f =
      -25 * sq(x[0] - 2) - sq(x[1] - 2) - sq(x[2] - 1) - sq(x[3] - 4) - sq(x[4] - 1) - sq(x[5] - 4);
  ineq[0] = 4 - sq(x[2] - 3) - x[3];
  ineq[1] = 4 - sq(x[4] - 3) - x[5];
  ineq[2] = x[0] - 3 * x[1] - 2;
  ineq[3] = x[1] - x[0] - 2;
  ineq[4] = x[0] + x[1] - 6;
  ineq[5] = 2 - x[0] - x[1];
}

/* Two stirred reactors in series: concentrations x1 .. x4, residence times x5, x6. */
static EVALUATION(reactorNetwork) {
  const double k1 = 0.09755988, k2 = 0.99 * k1, k3 = 0.0391908, k4 = 0.9 * k3;
  *f = -x[3];
  eq[0] = x[0] * (1 + k1 * x[4]) - 1;
  eq[1] = x[1] * (1 + k2 * x[5]) - x[0];
  eq[2] = x[2] * (1 + k3 * x[4]) + x[0] - 1;
  eq[3] = x[3] * (1 + k4 * x[5]) - x[2] + x[1] - x[0];
  ineq[0] = sqrt(x[4]) + sqrt(x[5]) - 4;
}

/* ---- minimax ---- */

static EVALUATION(cb2) {
  *f = x[2];
  ineq[0] = sq(x[0]) + sq(sq(x[1])) - x[2];
  ineq[1] = sq(2 - x[0]) + sq(2 - x[1]) - x[2];
  ineq[2] = 2 * exp(x[1] - x[0]) - x[2];
}

static EVALUATION(dem) {
  *f = x[2];
  ineq[0] = 5 * x[0] + x[1] - x[2];
  ineq[1] = -5 * x[0] + x[1] - x[2];
  ineq[2] = sq(x[0]) + sq(x[1]) + 4 * x[1] - x[2];
}

static EVALUATION(ql) {
  *f = x[2];
  ineq[0] = sq(x[0]) + sq(x[1]) - x[2];
  ineq[1] = ineq[0] - 40 * x[0] - 10 * x[1] + 40;
  ineq[2] = ineq[0] - 10 * x[0] - 20 * x[1] + 60;
}

static EVALUATION(evd52) {
  const double plane = x[0] + x[1];
  *f = x[3];
  ineq[0] = sq(x[0]) + sq(x[1]) + sq(x[2]) - 1 - x[3];
  ineq[1] = sq(x[0]) + sq(x[1]) + sq(x[2] - 2) - x[3];
  ineq[2] = plane + x[2] - 1 - x[3];
  ineq[3] = plane - x[2] + 1 - x[3];
  ineq[4] = 2 * cube(x[0]) + 6 * sq(x[1]) + 2 * sq(5 * x[2] - x[0] + 1) - x[3];
  ineq[5] = sq(x[0]) - 9 * x[2] - x[3];
}

static EVALUATION(maxq20) {
  *f = x[20];
  for (int i = 0; i < 20; ++i) ineq[i] = sq(x[i]) - x[20];
}

/* Coefficients of the cubic, and 100 times its largest error. */
static EVALUATION(chebyshevExp) {
  *f = x[4];
  for (int k = 0; k < 21; ++k) {
    const double u = (k - 10) / 10.0;
    const double error = ((x[3] * u + x[2]) * u + x[1]) * u + x[0] - exp(u);
    ineq[2 * k] = error - x[4] / 100;
    ineq[2 * k + 1] = -error - x[4] / 100;
  }
}

/* ---- nearly degenerate ---- */

static EVALUATION(lens) {
  *f = -x[1];
  ineq[0] = sq(x[0]) + sq(x[1]) - 1;
  ineq[1] = sq(x[0] - 1.999) + sq(x[1]) - 1;
}

static EVALUATION(complementarity) {
  *f = sq(x[0] - 1) + sq(x[1] - 0.5);
  ineq[0] = x[0] * x[1];
}

/* A cube so distorted that the simplex method may visit all 64 vertices. */
static EVALUATION(kleeMinty6) {
  double part = 0, limit = 1;
  *f = 0;
  for (int i = 0; i < 6; ++i) {
    limit *= 5;
    ineq[i] = (2 * part + x[i]) / limit - 1;
    part = 2 * part + 2 * x[i];
    *f = 2 * *f - x[i] / 1000;
  }
}

static EVALUATION(hilbertLeastSquares6) {
  *f = 0;
  for (int i = 0; i < 6; ++i) {
    double residual = (i % 2 == 0 ? -1.0 : 1.0) / (i + 1) - 1;
    for (int j = 0; j < 6; ++j) residual += x[j] / (i + j + 1);
    *f += 10 * sq(residual);
  }
}

/* clang-format off */
static const Problem table[] = {
    {.name = "one_sines", .source = "Zilinskas & Shaltyanis: sin x + sin(10x/3)",
     .n = 1, .nEq = 0, .nIneq = 0, .evaluate = oneSines,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(4.5), .lower = VALUES(2.7), .upper = VALUES(7.5),
     .best = VALUES(5.145735290256128), .fBest = -1.8995993491521133},
    {.name = "one_decay", .source = "Hansen, Jaumard & Lu 1992, function 4",
     .n = 1, .nEq = 0, .nIneq = 0, .evaluate = oneDecay,
     .start = VALUES(3.5), .lower = VALUES(1.9), .upper = VALUES(3.9),
     .best = VALUES(2.868033988749895), .fBest = -3.8504507088002193},
    {.name = "one_sextic",
     .source = "Hansen, Jaumard & Lu 1992, function 1: Floudas & Pardalos 1990, section 4.1",
     .n = 1, .nEq = 0, .nIneq = 0, .evaluate = oneSextic,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(7), .lower = VALUES(-2), .upper = VALUES(11),
     .best = allTen, .fBest = -29763.233333333334},
    {.name = "one_omega", .source = "least x with exp(-x) <= x, the omega constant",
     .n = 1, .nEq = 0, .nIneq = 1, .evaluate = oneOmega,
     .start = VALUES(3), .lower = allZero, .upper = VALUES(4),
     .best = VALUES(0.5671432904097838), .fBest = 0.5671432904097838},
    {.name = "one_wallis", .source = "Wallis 1685: Newton's cubic as the only equality",
     .n = 1, .nEq = 1, .nIneq = 0, .evaluate = oneWallis,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(3), .lower = allOne, .upper = VALUES(4),
     .best = VALUES(2.0945514815423265), .fBest = 4.387145908831155},
    {.name = "one_kepler",
     .source = "Kepler's equation of eccentricity 0.9 and mean anomaly 1 as two inequalities",
     .n = 1, .nEq = 0, .nIneq = 1, .evaluate = oneKepler,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(3), .lower = allZero, .upper = VALUES(4),
     .best = VALUES(1.8620866868745323), .fBest = 1.2948467081881787},
    {.name = "one_can",
     .source = "can of one litre, least sheet, no higher than 10 cm (radius in cm)",
     .n = 1, .nEq = 0, .nIneq = 1, .evaluate = oneCan,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(8), .lower = VALUES(2), .upper = VALUES(12),
     .best = VALUES(5.641895835477563), .fBest = 554.4907701811032},
    {.name = "one_main",
     .source = "economic diameter of a water main: pipe and pumping cost, speed of at most 1.5 "
               "m/s",
     .n = 1, .nEq = 0, .nIneq = 1, .evaluate = oneMain,
     .flags = PROBLEM_DESIGN,
     .start = allOne, .lower = VALUES(0.2), .upper = VALUES(2),
     .best = VALUES(0.6592693465597838), .fBest = 139.17706469775308},
    {.name = "freudenstein_roth", .source = "More, Garbow & Hillstrom 1981, problem 2; box added",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = freudensteinRoth,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.5, -2), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(5, 4), .fBest = 0},
    {.name = "beale", .source = "More, Garbow & Hillstrom 1981, problem 5; box added",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = beale,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = allOne, .lower = VALUES(-4.5, -4.5), .upper = VALUES(4.5, 4.5),
     .best = VALUES(3, 0.5), .fBest = 0},
    {.name = "jennrich_sampson", .source = "More, Garbow & Hillstrom 1981, problem 6; box added",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = jennrichSampson,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.3, 0.4), .lower = allZero, .upper = allOne,
     .best = VALUES(0.2578252136703641, 0.2578252136703641), .fBest = 124.36218235561485},
    {.name = "bard",
     .source = "More, Garbow & Hillstrom 1981, problem 8; objective times 100, box added",
     .n = 3, .nEq = 0, .nIneq = 0, .evaluate = bard,
     .start = allOne, .lower = VALUES(0.05, 0.05, 0.05), .upper = VALUES(5, 5, 5),
     .best = VALUES(0.08241055974978899, 1.1330360920297224, 2.3436951786425366), .fBest =
         0.8214877306578979},
    {.name = "box_three", .source = "More, Garbow & Hillstrom 1981, problem 12; box added",
     .n = 3, .nEq = 0, .nIneq = 0, .evaluate = boxThree,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(0, 10, 20), .lower = VALUES(0, 0, -20), .upper = VALUES(20, 20, 20),
     .best = VALUES(1, 10, 1), .fBest = 1.6327002773410838e-32},
    {.name = "powell_singular", .source = "More, Garbow & Hillstrom 1981, problem 13; box added",
     .n = 4, .nEq = 0, .nIneq = 0, .evaluate = powellSingular,
     .start = VALUES(3, -1, 0, 1), .lower = allMinusTen, .upper = allTen,
     .best = allZero, .fBest = 0},
    {.name = "kowalik_osborne",
     .source = "More, Garbow & Hillstrom 1981, problem 15; objective times 1000, box added",
     .n = 4, .nEq = 0, .nIneq = 0, .evaluate = kowalikOsborne,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.25, 0.39, 0.415, 0.39), .lower = VALUES(0.01, 0.01, 0.01, 0.01), .upper =
         allOne,
     .best = VALUES(0.1928069345790379, 0.1912823287343668, 0.12305650692632074,
         0.13606233068379475), .fBest = 0.3075056038492378},
    {.name = "brown_dennis",
     .source = "More, Garbow & Hillstrom 1981, problem 16; objective divided by 1000, box "
               "added",
     .n = 4, .nEq = 0, .nIneq = 0, .evaluate = brownDennis,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(25, 5, -5, -1), .lower = VALUES(-50, -50, -50, -50), .upper = VALUES(50, 50,
         50, 50),
     .best = VALUES(-11.594439904762165, 13.203630051207202, -0.4034394881768595,
         0.23677877445573628), .fBest = 85.8222016263563},
    {.name = "biggs_exp6", .source = "More, Garbow & Hillstrom 1981, problem 18; box added",
     .n = 6, .nEq = 0, .nIneq = 0, .evaluate = biggsExp6,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(1, 2, 1, 1, 1, 1), .lower = allZero, .upper = VALUES(FIVE(20), 20),
     .best = VALUES(1, 10, 1, 5, 4, 3), .fBest = 1.5158605813573485e-31},
    {.name = "watson_6",
     .source = "More, Garbow & Hillstrom 1981, problem 20; objective times 100, box added",
     .n = 6, .nEq = 0, .nIneq = 0, .evaluate = watson6,
     .start = allZero, .lower = VALUES(FIVE(-5), -5), .upper = VALUES(FIVE(5), 5),
     .best = VALUES(-0.015725086401458456, 1.0124348693691099, -0.2329916259567377,
         1.2604300877996084, -1.5137289227222797, 0.9929964324311346), .fBest =
         0.22876700535524364},
    {.name = "penalty_10",
     .source = "More, Garbow & Hillstrom 1981, problem 23; objective times 1e4, box added",
     .n = 10, .nEq = 0, .nIneq = 0, .evaluate = penalty10,
     .flags = PROBLEM_SCALABLE | PROBLEM_OTHER_MINIMA,
     .start = VALUES(1, 2, 3, 4, 5, 6, 7, 8, 9, 10), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(TEN(0.15812230111311634)), .fBest = 0.708765146709037},
    {.name = "variably_dimensioned_50",
     .source = "More, Garbow & Hillstrom 1981, problem 25; box added",
     .n = 50, .nEq = 0, .nIneq = 0, .evaluate = variablyDimensioned50,
     .flags = PROBLEM_SCALABLE,
     .start = VALUES(0.98, 0.96, 0.94, 0.92, 0.9, 0.88, 0.86, 0.84, 0.8200000000000001, 0.8, 0.78,
         0.76, 0.74, 0.72, 0.7, 0.6799999999999999, 0.6599999999999999, 0.64, 0.62, 0.6,
         0.5800000000000001, 0.56, 0.54, 0.52, 0.5, 0.48, 0.45999999999999996, 0.43999999999999995,
         0.42000000000000004, 0.4, 0.38, 0.36, 0.33999999999999997, 0.31999999999999995,
         0.30000000000000004, 0.28, 0.26, 0.24, 0.21999999999999997, 0.19999999999999996,
         0.18000000000000005, 0.16000000000000003, 0.14, 0.12, 0.09999999999999998,
         0.07999999999999996, 0.06000000000000005, 0.040000000000000036, 0.020000000000000018, 0),
         .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 0},
    {.name = "boundary_value_20",
     .source = "More, Garbow & Hillstrom 1981, problem 28; objective times n^4, box added",
     .n = 20, .nEq = 0, .nIneq = 0, .evaluate = boundaryValue20,
     .flags = PROBLEM_SCALABLE,
     .start = VALUES(-0.04535147392290249, -0.08616780045351473, -0.12244897959183673,
         -0.15419501133786848, -0.18140589569160995, -0.20408163265306123, -0.22222222222222224,
         -0.23582766439909297, -0.24489795918367344, -0.2494331065759637, -0.2494331065759637,
         -0.24489795918367346, -0.23582766439909297, -0.22222222222222224, -0.20408163265306123,
         -0.18140589569161, -0.15419501133786848, -0.12244897959183677, -0.08616780045351473,
         -0.04535147392290254), .lower = VALUES(TEN(-2), TEN(-2)), .upper = VALUES(TEN(2), TEN(2)),
     .best = VALUES(-0.02321043999667527, -0.04520202771964461, -0.06588098018477376,
         -0.08514365080635064, -0.1028751977211596, -0.11894803043596196, -0.13321999053038544,
         -0.1455322117504802, -0.15570659160223507, -0.1635427896173306, -0.16881464562153595,
         -0.17126588295932188, -0.1706049244701609, -0.16649859994710955, -0.15856445844279896,
         -0.1463613108771125, -0.12937750896477318, -0.10701630244475582, -0.07857738866240818,
         -0.043233447844552825), .fBest = 5.339064574172929e-28},
    {.name = "broyden_tridiagonal_30",
     .source = "More, Garbow & Hillstrom 1981, problem 30; box added",
     .n = 30, .nEq = 0, .nIneq = 0, .evaluate = broydenTridiagonal30,
     .flags = PROBLEM_SCALABLE | PROBLEM_OTHER_MINIMA,
     .start = VALUES(TEN(-1), TEN(-1), TEN(-1)), .lower = VALUES(TEN(-2), TEN(-2), TEN(-2)), .upper
         = VALUES(TEN(2), TEN(2), TEN(2)),
     .best = VALUES(-0.570761192974678, -0.6819101288678945, -0.7024860206671313,
         -0.7062605757994908, -0.7069518542942989, -0.7070784178318505, -0.7071015885642193,
         -0.7071058304804463, -0.7071066069380012, -0.7071067487421517, -0.7071067737609236,
         -0.7071067757688914, -0.7071067691111526, -0.7071067487050959, -0.7071066925663593,
         -0.7071065391691267, -0.7071061202062501, -0.7071049759579475, -0.7071018508582858,
         -0.7070933157956683, -0.7070700055072723, -0.7070063430511282, -0.7068324809375858,
         -0.706357705989197, -0.7050615273253235, -0.7015251953077045, -0.691894628950408,
         -0.6657975233421823, -0.5960353126266534, -0.4164123011668416), .fBest =
         1.1012616801142429e-30},
    {.name = "broyden_tridiagonal_100",
     .source = "More, Garbow & Hillstrom 1981, problem 30; box added",
     .n = 100, .nEq = 0, .nIneq = 0, .evaluate = broydenTridiagonal100,
     .flags = PROBLEM_SCALABLE | PROBLEM_OTHER_MINIMA,
     .start = VALUES(HUNDRED(-1)), .lower = VALUES(HUNDRED(-2)), .upper = VALUES(HUNDRED(2)),
     .best = VALUES(-0.5707611929747513, -0.681910128868088, -0.7024860206676489,
         -0.7062605758008975, -0.7069518542981373, -0.707078417842332, -0.7071015885928448,
         -0.7071058305586259, -0.7071066071515205, -0.7071067493253026, -0.70710677535359,
         -0.7071067801186861, -0.7071067809910502, -0.7071067811507571, -0.7071067811799953,
         -0.707106781185348, -0.707106781186328, -0.7071067811865073, -0.7071067811865401,
         -0.7071067811865461, -0.7071067811865472, -0.7071067811865475, -0.7071067811865475,
         TEN(-0.7071067811865476), TEN(-0.7071067811865476), TEN(-0.7071067811865476),
         FIVE(-0.7071067811865476), -0.7071067811865476, -0.7071067811865476, -0.7071067811865476,
         -0.7071067811865475, -0.7071067811865475, -0.7071067811865475, -0.7071067811865474,
         -0.707106781186547, -0.7071067811865462, -0.7071067811865441, -0.7071067811865382,
         -0.7071067811865223, -0.7071067811864785, -0.7071067811863592, -0.707106781186033,
         -0.7071067811851424, -0.7071067811827099, -0.7071067811760665, -0.7071067811579222,
         -0.707106781108368, -0.7071067809730283, -0.7071067806033967, -0.7071067795938811,
         -0.7071067768367528, -0.70710676930665, -0.7071067487408863, -0.7071066925729116,
         -0.7071065391703262, -0.7071061202064697, -0.7071049759579877, -0.7071018508582931,
         -0.7070933157956696, -0.7070700055072725, -0.7070063430511282, -0.7068324809375858,
         -0.706357705989197, -0.7050615273253235, -0.7015251953077045, -0.691894628950408,
         -0.6657975233421823, -0.5960353126266534, -0.4164123011668416), .fBest =
         3.8961901370922484e-30},
    {.name = "broyden_banded_60", .source = "More, Garbow & Hillstrom 1981, problem 31; box added",
     .n = 60, .nEq = 0, .nIneq = 0, .evaluate = broydenBanded60,
     .flags = PROBLEM_SCALABLE | PROBLEM_OTHER_MINIMA,
     .start = VALUES(FIFTY(-1), TEN(-1)), .lower = VALUES(FIFTY(-2), TEN(-2)), .upper =
         VALUES(FIFTY(2), TEN(2)),
     .best = VALUES(-0.4283028635872503, -0.47659642435629357, -0.5196524636464014,
         -0.558099324856152, -0.5925061559650828, -0.6245037074105165, -0.6232386691324513,
         -0.6214196767136478, -0.6196158428334761, -0.6182260179198574, -0.6175180248414952,
         -0.6177318303186657, -0.6179003162526637, -0.6180077985633593, -0.6180570610194791,
         -0.6180627237744716, -0.6180464123676292, -0.6180369432559549, -0.6180327968239003,
         -0.6180320109076162, -0.6180327484374204, -0.6180336522098026, -0.6180340391955201,
         -0.6180341290746869, -0.6180340902897343, -0.6180340279672515, -0.6180339892049931,
         -0.6180339788606287, -0.6180339805677721, -0.6180339850062839, -0.6180339881846647,
         -0.6180339893995617, -0.6180339894032136, -0.6180339890890703, -0.6180339888323726,
         -0.6180339887160342, -0.6180339886991715, -0.6180339887199348, -0.6180339887404801,
         -0.6180339887510495, -0.6180339887535669, -0.6180339887524694, -0.6180339887508701,
         -0.6180339887499342, -0.6180339887496442, -0.6180339887496836, -0.6180339887497998,
         -0.6180339887498804, -0.6180339887499106, -0.6180339887499116, -0.6180339887499042,
         -0.6180339887498759, -0.6180339887505812, -0.6180339887274123, -0.6180339894853232,
         -0.6180339646918116, -0.6180347757589236, -0.618008240503785, -0.6188732808161764,
         -0.5862791221248952), .fBest = 3.397376705473094e-30},
    {.name = "chebyquad_8",
     .source = "More, Garbow & Hillstrom 1981, problem 35; objective times 100, box added",
     .n = 8, .nEq = 0, .nIneq = 0, .evaluate = chebyquad8,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.1111111111111111, 0.2222222222222222, 0.3333333333333333, 0.4444444444444444,
         0.5555555555555556, 0.6666666666666666, 0.7777777777777778, 0.8888888888888888), .lower =
         allZero, .upper = allOne,
     .best = VALUES(0.04315276015101663, 0.1930908403841861, 0.26632870689027294, 0.5, 0.5,
         0.7336712931097271, 0.8069091596158139, 0.9568472398489833), .fBest = 0.35168737256779314},
    {.name = "rosenbrock_pairs_40",
     .source = "More, Garbow & Hillstrom 1981, problem 21 (extended Rosenbrock); box added",
     .n = 40, .nEq = 0, .nIneq = 0, .evaluate = rosenbrockPairs40,
     .flags = PROBLEM_SCALABLE,
     .start = VALUES(-1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2,
         1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2, 1, -1.2,
         1, -1.2, 1), .lower = VALUES(TEN(-5), TEN(-5), TEN(-5), TEN(-5)), .upper = VALUES(TEN(5),
         TEN(5), TEN(5), TEN(5)),
     .best = allOne, .fBest = 0},
    {.name = "six_hump_camel", .source = "Dixon & Szego 1978: six-hump camel back",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = sixHumpCamel,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = allOne, .lower = VALUES(-3, -2), .upper = VALUES(3, 2),
     .best = VALUES(-0.08984201310031806, 0.7126564030207396), .fBest = -1.0316284534898774},
    {.name = "goldstein_price",
     .source = "Dixon & Szego 1978: Goldstein & Price; logarithm of the function",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = goldsteinPrice,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(-0.5, -0.5), .lower = VALUES(-2, -2), .upper = VALUES(2, 2),
     .best = VALUES(0, -1), .fBest = 1.0986122886681098},
    {.name = "hartmann_6", .source = "Dixon & Szego 1978: Hartmann, six variables",
     .n = 6, .nEq = 0, .nIneq = 0, .evaluate = hartmann6,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(FIVE(0.5), 0.5), .lower = allZero, .upper = allOne,
     .best = VALUES(0.20168951100670543, 0.15001069182345797, 0.476873974221897, 0.2753324304940561,
         0.31165161660011326, 0.6573005340656204), .fBest = -3.3223680114155147},
    {.name = "g01", .source = "Liang et al. 2006 (CEC), problem g01",
     .n = 13, .nEq = 0, .nIneq = 9, .evaluate = g01,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(FIVE(0.5), 0.5, 0.5, 0.5, 0.5, 1, 1, 1, 0.5), .lower = allZero, .upper =
         VALUES(FIVE(1), 1, 1, 1, 1, 100, 100, 100, 1),
     .best = VALUES(FIVE(1), 1, 1, 1, 1, 3, 3, 3, 1), .fBest = -15},
    {.name = "g03", .source = "Liang et al. 2006 (CEC), problem g03",
     .n = 10, .nEq = 1, .nIneq = 0, .evaluate = g03,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(TEN(0.5)), .lower = allZero, .upper = allOne,
     .best = VALUES(TEN(0.31622776601683794)), .fBest = -1.0000000000000002},
    {.name = "g08",
     .source = "Liang et al. 2006 (CEC), problem g08; objective times 100, box narrowed",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = g08,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(1.5, 3.5), .lower = VALUES(0.5, 0.5), .upper = allTen,
     .best = VALUES(1.2279713527638443, 4.245373366458418), .fBest = -9.58250414180358},
    {.name = "g11", .source = "Liang et al. 2006 (CEC), problem g11",
     .n = 2, .nEq = 1, .nIneq = 0, .evaluate = g11,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.3, 0.9), .lower = VALUES(-1, -1), .upper = allOne,
     .best = VALUES(0.7071067811865476, 0.5), .fBest = 0.7500000000000001},
    {.name = "g23",
     .source = "Liang et al. 2006 (CEC), problem g23: the pooling problem of Haverly",
     .n = 9, .nEq = 4, .nIneq = 2, .evaluate = g23,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS |
              PROBLEM_OTHER_MINIMA,
     .start = VALUES(100, 50, 50, 100, 60, 50, 50, 100, 0.02), .lower = VALUES(FIVE(0), 0, 0, 0,
         0.01), .upper = VALUES(300, 300, 100, 200, 100, 300, 100, 200, 0.03),
     .best = VALUES(0, 99.99999999999999, 0, 99.99999999999999, 0, 0, 100, 200, 0.01), .fBest =
         -400.0000000000002},
    {.name = "g24", .source = "Liang et al. 2006 (CEC), problem g24",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = g24,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = allOne, .lower = allZero, .upper = VALUES(3, 4),
     .best = VALUES(2.3295201974776054, 3.1784930741176685), .fBest = -5.508013271595274},
    {.name = "concave_knapsack", .source = "Floudas & Pardalos 1990, problem 2.1",
     .n = 5, .nEq = 0, .nIneq = 1, .evaluate = concaveKnapsack,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(FIVE(0.5)), .lower = allZero, .upper = allOne,
     .best = VALUES(1, 1, 0, 1, 0), .fBest = -17},
    {.name = "concave_six", .source = "Floudas & Pardalos 1990, problem 3.3",
     .n = 6, .nEq = 0, .nIneq = 6, .evaluate = concaveSix,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(3, 1, 2, 3, 2, 5), .lower = VALUES(0, 0, 1, 0, 1, 0), .upper = VALUES(6, 8, 5,
         6, 5, 10),
     .best = VALUES(5, 1, 5, 0, 5, 10), .fBest = -310},
    {.name = "reactor_network",
     .source = "Ryoo & Sahinidis 1995, problem 4 (Manousiouthakis & Sourlas 1992); box "
               "narrowed",
     .n = 6, .nEq = 4, .nIneq = 1, .evaluate = reactorNetwork,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.8, 0.5, 0.2, 0.3, 2, 4), .lower = VALUES(0, 0, 0, 0, 0.01, 0.01), .upper =
         VALUES(1, 1, 1, 1, 16, 16),
     .best = VALUES(0.7715158754370133, 0.5169924638597841, 0.20419213706897957,
         0.38881143429172793, 3.035567577887822, 5.097263341546135), .fBest = -0.38881143429172793},
    {.name = "cb2", .source = "Luksan & Vlcek 2000 (nonsmooth set): CB2",
     .n = 3, .nEq = 0, .nIneq = 3, .evaluate = cb2,
     .start = VALUES(2, 2, 50), .lower = VALUES(-10, -10, -100), .upper = VALUES(10, 10, 100),
     .best = VALUES(1.1390376519926626, 0.8995599383953928, 1.952224493870659), .fBest =
         1.952224493870659},
    {.name = "dem", .source = "Luksan & Vlcek 2000 (nonsmooth set): DEM",
     .n = 3, .nEq = 0, .nIneq = 3, .evaluate = dem,
     .start = VALUES(1, 1, 10), .lower = VALUES(-10, -10, -100), .upper = VALUES(10, 10, 100),
     .best = VALUES(0, -3, -3), .fBest = -3},
    {.name = "ql", .source = "Luksan & Vlcek 2000 (nonsmooth set): QL",
     .n = 3, .nEq = 0, .nIneq = 3, .evaluate = ql,
     .start = VALUES(-1, 5, 300), .lower = VALUES(-10, -10, -500), .upper = VALUES(10, 10, 500),
     .best = VALUES(1.2, 2.4, 7.2), .fBest = 7.2},
    {.name = "evd52", .source = "Luksan & Vlcek 2000 (nonsmooth set): EVD52",
     .n = 4, .nEq = 0, .nIneq = 6, .evaluate = evd52,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(1, 1, 1, 10), .lower = VALUES(-20, -20, -20, -20), .upper = VALUES(20, 20, 20,
         20),
     .best = VALUES(0.3282599507479011, 2.407412430484045e-35, 0.13132006363817736,
         3.59971929982624), .fBest = 3.59971929982624},
    {.name = "maxq_20", .source = "Luksan & Vlcek 2000 (nonsmooth set): MAXQ; start chosen",
     .n = 21, .nEq = 0, .nIneq = 20, .evaluate = maxq20,
     .flags = PROBLEM_SCALABLE | PROBLEM_DEGENERATE,
     .start = VALUES(0.25, 0.5, 0.75, 1, 1.25, 1.5, 1.75, 2, 2.25, 2.5, -2.75, -3, -3.25, -3.5,
         -3.75, -4, -4.25, -4.5, -4.75, -5, 30), .lower = VALUES(TEN(-50), TEN(-50), -50), .upper =
         VALUES(TEN(50), TEN(50), 50),
     .best = allZero, .fBest = 0},
    {.name = "chebyshev_exp",
     .source = "best cubic for exp on [-1, 1] in 21 points, the exchange problem of Remez",
     .n = 5, .nEq = 0, .nIneq = 42, .evaluate = chebyshevExp,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(1, 1, 0, 0, 2), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.9945297472857367, 0.9957694465538084, 0.5430806348152438, 0.17943174708999304,
         0.5470252714263216), .fBest = 0.5470252714263216},
    {.name = "lens", .source = "made for this collection: two circles that overlap by 0.001",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = lens,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_NEARLY_DEPENDENT,
     .start = VALUES(1, 0.5), .lower = VALUES(-3, -3), .upper = VALUES(3, 3),
     .best = VALUES(0.9995, 0.031618823507523014), .fBest = -0.031618823507523014},
    {.name = "complementarity",
     .source = "Scheel & Scholtes 2000: two variables of which one must vanish",
     .n = 2, .nEq = 0, .nIneq = 1, .evaluate = complementarity,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(2, 0.5), .lower = allZero, .upper = allTen,
     .best = VALUES(1, 0), .fBest = 0.25},
    {.name = "klee_minty_6", .source = "Klee & Minty 1972, base 2, objective divided by 1000",
     .n = 6, .nEq = 0, .nIneq = 6, .evaluate = kleeMinty6,
     .flags = PROBLEM_SCALABLE | PROBLEM_ACTIVE_BOUNDS | PROBLEM_NEARLY_DEPENDENT,
     .start = allZero, .lower = allZero, .upper = VALUES(5, 25, 125, 625, 3125, 15625),
     .best = VALUES(FIVE(0), 15625), .fBest = -15.625},
    {.name = "hilbert_least_squares_6",
     .source = "non-negative least squares with Hilbert's matrix of order 6, objective times "
               "10",
     .n = 6, .nEq = 0, .nIneq = 0, .evaluate = hilbertLeastSquares6,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_NEARLY_DEPENDENT,
     .start = allOne, .lower = allZero, .upper = VALUES(FIVE(5), 5),
     .best = VALUES(0.7048528056945628, 0, 0, 0, 1.237044382338891, 5), .fBest = 9.46601227052471},
};
/* clang-format on */

const ProblemFamily classicsFamily = FAMILY(table);

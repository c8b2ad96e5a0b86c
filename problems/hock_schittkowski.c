/* Problems of W. Hock and K. Schittkowski, Test Examples for Nonlinear Programming Codes (1981).
 * Constraints that the book writes as g >= 0 stand here as -g <= 0. */
#include <math.h>

#include "family.h"

/* ---- two and three variables ---- */

static EVALUATION(hs5) {
  *f = sin(x[0] + x[1]) + sq(x[0] - x[1]) - 1.5 * x[0] + 2.5 * x[1] + 1;
}

static EVALUATION(hs6) {
  *f = sq(1 - x[0]);
  eq[0] = 10 * (x[1] - sq(x[0]));
}

static EVALUATION(hs7) {
  *f = log(1 + sq(x[0])) - x[1];
  eq[0] = sq(1 + sq(x[0])) + sq(x[1]) - 4;
}

static EVALUATION(hs10) {
  *f = x[0] - x[1];
  ineq[0] = 3 * sq(x[0]) - 2 * x[0] * x[1] + sq(x[1]) - 1;
}

static EVALUATION(hs12) {
  *f = 0.5 * sq(x[0]) + sq(x[1]) - x[0] * x[1] - 7 * x[0] - 7 * x[1];
  ineq[0] = 4 * sq(x[0]) + sq(x[1]) - 25;
}

EVALUATION(hs14) {
  *f = sq(x[0] - 2) + sq(x[1] - 1);
  eq[0] = x[0] - 2 * x[1] + 1;
  ineq[0] = 0.25 * sq(x[0]) + sq(x[1]) - 1;
}

static EVALUATION(hs15) {
  *f = 100 * sq(x[1] - sq(x[0])) + sq(1 - x[0]);
  ineq[0] = 1 - x[0] * x[1];
  ineq[1] = -x[0] - sq(x[1]);
}

static EVALUATION(hs18) {
  *f = 0.01 * sq(x[0]) + sq(x[1]);
  ineq[0] = 25 - x[0] * x[1];
  ineq[1] = 25 - sq(x[0]) - sq(x[1]);
}

static EVALUATION(hs19) {
  *f = cube(x[0] - 10) + cube(x[1] - 20);
  ineq[0] = 100 - sq(x[0] - 5) - sq(x[1] - 5);
  ineq[1] = sq(x[0] - 6) + sq(x[1] - 5) - 82.81;
}

EVALUATION(hs22) {
  *f = sq(x[0] - 2) + sq(x[1] - 1);
  ineq[0] = x[0] + x[1] - 2;
  ineq[1] = sq(x[0]) - x[1];
}

static EVALUATION(hs23) {
  *f = sq(x[0]) + sq(x[1]);
  ineq[0] = 1 - x[0] - x[1];
  ineq[1] = 1 - sq(x[0]) - sq(x[1]);
  ineq[2] = 9 - 9 * sq(x[0]) - sq(x[1]);
  ineq[3] = x[1] - sq(x[0]);
  ineq[4] = x[0] - sq(x[1]);
}

static EVALUATION(hs24) {
  const double root3 = sqrt(3);
  *f = (sq(x[0] - 3) - 9) * cube(x[1]) / (27 * root3);
  ineq[0] = x[1] - x[0] / root3;
  ineq[1] = -x[0] - root3 * x[1];
  ineq[2] = x[0] + root3 * x[1] - 6;
}

static EVALUATION(hs26) {
  *f = sq(x[0] - x[1]) + sq(sq(x[1] - x[2]));
  eq[0] = (1 + sq(x[1])) * x[0] + sq(sq(x[2])) - 3;
}

static EVALUATION(hs27) {
  *f = 0.01 * sq(x[0] - 1) + sq(x[1] - sq(x[0]));
  eq[0] = x[0] + sq(x[2]) + 1;
}

EVALUATION(hs28) {
  *f = sq(x[0] + x[1]) + sq(x[1] + x[2]);
  eq[0] = x[0] + 2 * x[1] + 3 * x[2] - 1;
}

static EVALUATION(hs29) {
  *f = -x[0] * x[1] * x[2];
  ineq[0] = sq(x[0]) + 2 * sq(x[1]) + 4 * sq(x[2]) - 48;
}

static EVALUATION(hs31) {
  *f = 9 * sq(x[0]) + sq(x[1]) + 9 * sq(x[2]);
  ineq[0] = 1 - x[0] * x[1];
}

static EVALUATION(hs32) {
  *f = sq(x[0] + 3 * x[1] + x[2]) + 4 * sq(x[0] - x[1]);
  eq[0] = 1 - x[0] - x[1] - x[2];
  ineq[0] = cube(x[0]) - 6 * x[1] - 4 * x[2] + 3;
}

static EVALUATION(hs34) {
  *f = -x[0];
  ineq[0] = exp(x[0]) - x[1];
  ineq[1] = exp(x[1]) - x[2];
}

static EVALUATION(hs35) {
  *f = 9 - 8 * x[0] - 6 * x[1] - 4 * x[2] + 2 * sq(x[0]) + 2 * sq(x[1]) + sq(x[2]) +
       2 * x[0] * x[1] + 2 * x[0] * x[2];
  ineq[0] = x[0] + x[1] + 2 * x[2] - 3;
}

static EVALUATION(hs37) {
  *f = -x[0] * x[1] * x[2];
  ineq[0] = x[0] + 2 * x[1] + 2 * x[2] - 72;
  ineq[1] = -x[0] - 2 * x[1] - 2 * x[2];
}

static EVALUATION(hs60) {
  *f = sq(x[0] - 1) + sq(x[0] - x[1]) + sq(sq(x[1] - x[2]));
  eq[0] = x[0] * (1 + sq(x[1])) + sq(sq(x[2])) - 4 - 3 * sqrt(2);
}

static EVALUATION(hs61) {
  *f = 4 * sq(x[0]) + 2 * sq(x[1]) + 2 * sq(x[2]) - 33 * x[0] + 16 * x[1] - 24 * x[2];
  eq[0] = 3 * x[0] - 2 * sq(x[1]) - 7;
  eq[1] = 4 * x[0] - sq(x[2]) - 11;
}

static EVALUATION(hs63) {
  *f = 1000 - sq(x[0]) - 2 * sq(x[1]) - sq(x[2]) - x[0] * x[1] - x[0] * x[2];
  eq[0] = 8 * x[0] + 14 * x[1] + 7 * x[2] - 56;
  eq[1] = sq(x[0]) + sq(x[1]) + sq(x[2]) - 25;
}

static EVALUATION(hs65) {
  *f = sq(x[0] - x[1]) + sq(x[0] + x[1] - 10) / 9 + sq(x[2] - 5);
  ineq[0] = sq(x[0]) + sq(x[1]) + sq(x[2]) - 48;
}

static EVALUATION(hs66) {
  *f = 0.2 * x[2] - 0.8 * x[0];
  ineq[0] = exp(x[0]) - x[1];
  ineq[1] = exp(x[1]) - x[2];
}

/* ---- four and five variables ---- */

static EVALUATION(hs38) {
  *f = 100 * sq(x[1] - sq(x[0])) + sq(1 - x[0]) + 90 * sq(x[3] - sq(x[2])) + sq(1 - x[2]) +
       10.1 * (sq(x[1] - 1) + sq(x[3] - 1)) + 19.8 * (x[1] - 1) * (x[3] - 1);
}

static EVALUATION(hs39) {
  *f = -x[0];
  eq[0] = x[1] - cube(x[0]) - sq(x[2]);
  eq[1] = sq(x[0]) - x[1] - sq(x[3]);
}

static EVALUATION(hs40) {
  *f = -x[0] * x[1] * x[2] * x[3];
  eq[0] = cube(x[0]) + sq(x[1]) - 1;
  eq[1] = sq(x[0]) * x[3] - x[2];
  eq[2] = sq(x[3]) - x[1];
}

static EVALUATION(hs42) {
  *f = sq(x[0] - 1) + sq(x[1] - 2) + sq(x[2] - 3) + sq(x[3] - 4);
  eq[0] = x[0] - 2;
  eq[1] = sq(x[2]) + sq(x[3]) - 2;
}

/* The problem of Rosen and Suzuki. */
EVALUATION(hs43) {
  *f = sq(x[0]) + sq(x[1]) + 2 * sq(x[2]) + sq(x[3]) - 5 * x[0] - 5 * x[1] - 21 * x[2] + 7 * x[3];
  ineq[0] = sq(x[0]) + sq(x[1]) + sq(x[2]) + sq(x[3]) + x[0] - x[1] + x[2] - x[3] - 8;
  ineq[1] = sq(x[0]) + 2 * sq(x[1]) + sq(x[2]) + 2 * sq(x[3]) - x[0] - x[3] - 10;
  ineq[2] = 2 * sq(x[0]) + sq(x[1]) + sq(x[2]) + 2 * x[0] - x[1] - x[3] - 5;
}

EVALUATION(hs48) {
  *f = sq(x[0] - 1) + sq(x[1] - x[2]) + sq(x[3] - x[4]);
  eq[0] = x[0] + x[1] + x[2] + x[3] + x[4] - 5;
  eq[1] = x[2] - 2 * (x[3] + x[4]) + 3;
}

static EVALUATION(hs53) {
  *f = sq(x[0] - x[1]) + sq(x[1] + x[2] - 2) + sq(x[3] - 1) + sq(x[4] - 1);
  eq[0] = x[0] + 3 * x[1];
  eq[1] = x[2] + x[3] - 2 * x[4];
  eq[2] = x[1] - x[4];
}

static EVALUATION(hs71) {
  *f = x[0] * x[3] * (x[0] + x[1] + x[2]) + x[2];
  eq[0] = sq(x[0]) + sq(x[1]) + sq(x[2]) + sq(x[3]) - 40;
  ineq[0] = 25 - x[0] * x[1] * x[2] * x[3];
}

/* Sampling rates of a stratified population. */
static EVALUATION(hs72) {
  *f = 1 + x[0] + x[1] + x[2] + x[3];
  ineq[0] = 4 / x[0] + 2.25 / x[1] + 1 / x[2] + 0.25 / x[3] - 0.0401;
  ineq[1] = 0.16 / x[0] + 0.36 / x[1] + 0.64 / x[2] + 0.64 / x[3] - 0.010085;
}

/* Cattle feed. */
static EVALUATION(hs73) {
  *f = 24.55 * x[0] + 26.75 * x[1] + 39 * x[2] + 40.5 * x[3];
  eq[0] = x[0] + x[1] + x[2] + x[3] - 1;
  ineq[0] = 5 - 2.3 * x[0] - 5.6 * x[1] - 11.1 * x[2] - 1.3 * x[3];
  ineq[1] = 21 +
            1.645 * sqrt(0.28 * sq(x[0]) + 0.19 * sq(x[1]) + 20.5 * sq(x[2]) + 0.62 * sq(x[3])) -
            12 * x[0] - 11.9 * x[1] - 41.8 * x[2] - 52.1 * x[3];
}

/* Power flow between two generators: two outputs, two phase angles. */
static EVALUATION(hs74) {
  *f = 3 * x[0] + 1e-6 * cube(x[0]) + 2 * x[1] + 2e-6 / 3 * cube(x[1]);
  eq[0] = 1000 * (sin(-x[2] - 0.25) + sin(-x[3] - 0.25)) + 894.8 - x[0];
  eq[1] = 1000 * (sin(x[2] - 0.25) + sin(x[2] - x[3] - 0.25)) + 894.8 - x[1];
  eq[2] = 1000 * (sin(x[3] - 0.25) + sin(x[3] - x[2] - 0.25)) + 1294.8;
  ineq[0] = x[2] - x[3] - 0.55;
  ineq[1] = x[3] - x[2] - 0.55;
}

static EVALUATION(hs76) {
  *f = sq(x[0]) + 0.5 * sq(x[1]) + sq(x[2]) + 0.5 * sq(x[3]) - x[0] * x[2] + x[2] * x[3] - x[0] -
       3 * x[1] + x[2] - x[3];
  ineq[0] = x[0] + 2 * x[1] + x[2] + x[3] - 5;
  ineq[1] = 3 * x[0] + x[1] + 2 * x[2] - x[3] - 4;
  ineq[2] = 1.5 - x[1] - 4 * x[2];
}

static EVALUATION(hs77) {
  *f = sq(x[0] - 1) + sq(x[0] - x[1]) + sq(x[2] - 1) + sq(sq(x[3] - 1)) + sq(cube(x[4] - 1));
  eq[0] = sq(x[0]) * x[3] + sin(x[3] - x[4]) - 2 * sqrt(2);
  eq[1] = x[1] + sq(sq(x[2])) * sq(x[3]) - 8 - sqrt(2);
}

static void equalitiesOf78(const double* x, double* eq) {
  eq[0] = sq(x[0]) + sq(x[1]) + sq(x[2]) + sq(x[3]) + sq(x[4]) - 10;
  eq[1] = x[1] * x[2] - 5 * x[3] * x[4];
  eq[2] = cube(x[0]) + cube(x[1]) + 1;
}

static EVALUATION(hs78) {
  *f = x[0] * x[1] * x[2] * x[3] * x[4];
  equalitiesOf78(x, eq);
}

static EVALUATION(hs79) {
  *f = sq(x[0] - 1) + sq(x[0] - x[1]) + sq(x[1] - x[2]) + sq(sq(x[2] - x[3])) + sq(sq(x[3] - x[4]));
  eq[0] = x[0] + sq(x[1]) + cube(x[2]) - 2 - 3 * sqrt(2);
  eq[1] = x[1] - sq(x[2]) + x[3] + 2 - 2 * sqrt(2);
  eq[2] = x[0] * x[4] - 2;
}

static EVALUATION(hs80) {
  *f = exp(x[0] * x[1] * x[2] * x[3] * x[4]);
  equalitiesOf78(x, eq);
}

static EVALUATION(hs83) {
  const double a = x[0], b = x[1], c = x[2], d = x[3], e = x[4];
  const double v1 = 85.334407 + 0.0056858 * b * e + 0.0006262 * a * d - 0.0022053 * c * e;
  const double v2 = 80.51249 + 0.0071317 * b * e + 0.0029955 * a * b + 0.0021813 * sq(c) - 90;
  const double v3 = 9.300961 + 0.0047026 * c * e + 0.0012547 * a * c + 0.0019085 * c * d - 20;
  *f = 5.3578547 * sq(c) + 0.8356891 * a * e + 37.293239 * a - 40792.141;
  ineq[0] = -v1;
  ineq[1] = v1 - 92;
  ineq[2] = -v2;
  ineq[3] = v2 - 20;
  ineq[4] = -v3;
  ineq[5] = v3 - 5;
}

/* Colville's first problem (86) and its dual (117) share these. A(2,4) is 4; other prints have
 * 0.4, with the same minimisers, for that row is slack. */
static const double colvilleA[10][5] = {
    {-16, 2, 0, 1, 0},    {0, -2, 0, 4, 2}, {-3.5, 0, 2, 0, 0},   {0, -2, 0, -4, -1},
    {0, -9, -2, 1, -2.8}, {2, 0, -4, 0, 0}, {-1, -1, -1, -1, -1}, {-1, -2, -3, -2, -1},
    {1, 2, 3, 4, 5},      {1, 1, 1, 1, 1}};
static const double colvilleB[10] = {-40, -2, -0.25, -4, -4, -1, -40, -60, 5, 1};
static const double colvilleC[5][5] = {{30, -20, -10, 32, -10},
                                       {-20, 39, -6, -31, 32},
                                       {-10, -6, 10, -6, -10},
                                       {32, -31, -6, 39, -20},
                                       {-10, 32, -10, -20, 30}};
static const double colvilleD[5] = {4, 8, 10, 6, 2};
static const double colvilleE[5] = {-15, -27, -36, -18, -12};

/* sum_ij C_ij y_i y_j */
static double colvilleQuadratic(const double* y) {
  double sum = 0;
  for (int i = 0; i < 5; ++i)
    for (int j = 0; j < 5; ++j) sum += colvilleC[i][j] * y[i] * y[j];
  return sum;
}

static EVALUATION(hs86) {
  *f = colvilleQuadratic(x);
  for (int j = 0; j < 5; ++j) *f += colvilleE[j] * x[j] + colvilleD[j] * cube(x[j]);
  for (int i = 0; i < 10; ++i) {
    ineq[i] = colvilleB[i];
    for (int j = 0; j < 5; ++j) ineq[i] -= colvilleA[i][j] * x[j];
  }
}

/* ---- six and more variables ---- */

static EVALUATION(hs55) {
  *f = x[0] + 2 * x[1] + 4 * x[4] + exp(x[0] * x[3]);
  eq[0] = x[0] + 2 * x[1] + 5 * x[4] - 6;
  eq[1] = x[0] + x[1] + x[2] - 3;
  eq[2] = x[3] + x[4] + x[5] - 2;
  eq[3] = x[0] + x[3] - 1;
  eq[4] = x[1] + x[4] - 2;
  eq[5] = x[2] + x[5] - 2;
}

/* Transformer: the two constraints are the power rating and the losses. */
static EVALUATION(hs93) {
  const double core = x[0] * x[3] * (x[0] + x[1] + x[2]);
  const double winding = x[1] * x[2] * (x[0] + 1.57 * x[1] + x[3]);
  *f = 0.0204 * core + 0.0187 * winding + 0.0607 * core * sq(x[4]) + 0.0437 * winding * sq(x[5]);
  ineq[0] = 2.07 - 0.001 * x[0] * x[1] * x[2] * x[3] * x[4] * x[5];
  ineq[1] = 0.00062 * core * sq(x[4]) + 0.00058 * winding * sq(x[5]) - 1;
}

static EVALUATION(hs100) {
  *f = sq(x[0] - 10) + 5 * sq(x[1] - 12) + sq(sq(x[2])) + 3 * sq(x[3] - 11) + 10 * sq(cube(x[4])) +
       7 * sq(x[5]) + sq(sq(x[6])) - 4 * x[5] * x[6] - 10 * x[5] - 8 * x[6];
  ineq[0] = 2 * sq(x[0]) + 3 * sq(sq(x[1])) + x[2] + 4 * sq(x[3]) + 5 * x[4] - 127;
  ineq[1] = 7 * x[0] + 3 * x[1] + 10 * sq(x[2]) + x[3] - x[4] - 282;
  ineq[2] = 23 * x[0] + sq(x[1]) + 6 * sq(x[5]) - 8 * x[6] - 196;
  ineq[3] = 4 * sq(x[0]) + sq(x[1]) - 3 * x[0] * x[1] + 2 * sq(x[2]) + 5 * x[5] - 11 * x[6];
}

static EVALUATION(hs104) {
  *f = 0.4 * pow(x[0] / x[6], 0.67) + 0.4 * pow(x[1] / x[7], 0.67) + 10 - x[0] - x[1];
  ineq[0] = 0.0588 * x[4] * x[6] + 0.1 * x[0] - 1;
  ineq[1] = 0.0588 * x[5] * x[7] + 0.1 * x[0] + 0.1 * x[1] - 1;
  for (int i = 0; i < 2; ++i) {
    const double a = x[2 + i], b = x[4 + i], c = x[6 + i];
    ineq[2 + i] = 4 * a / b + 2 * pow(a, -0.71) / b + 0.0588 * pow(a, -1.3) * c - 1;
  }
  ineq[4] = 1 - *f;
  ineq[5] = *f - 4.2;
}

/* Three heat exchangers in series: areas and temperatures. */
static EVALUATION(hs106) {
  *f = x[0] + x[1] + x[2];
  ineq[0] = 0.0025 * (x[3] + x[5]) - 1;
  ineq[1] = 0.0025 * (x[4] + x[6] - x[3]) - 1;
  ineq[2] = 0.01 * (x[7] - x[4]) - 1;
  ineq[3] = (100 * x[0] - x[0] * x[5] + 833.33252 * x[3] - 83333.333) / 1e5;
  ineq[4] = (x[1] * x[3] - x[1] * x[6] - 1250 * x[3] + 1250 * x[4]) / 1e5;
  ineq[5] = (x[2] * x[4] - x[2] * x[7] - 2500 * x[4] + 1250000) / 1e5;
}

/* Largest hexagon of unit diameter: most of its side constraints meet in the optimum. */
static EVALUATION(hs108) {
  *f = -0.5 * (x[0] * x[3] - x[1] * x[2] + x[2] * x[8] - x[4] * x[8] + x[4] * x[7] - x[5] * x[6]);
  ineq[0] = sq(x[2]) + sq(x[3]) - 1;
  ineq[1] = sq(x[8]) - 1;
  ineq[2] = sq(x[4]) + sq(x[5]) - 1;
  ineq[3] = sq(x[0]) + sq(x[1] - x[8]) - 1;
  ineq[4] = sq(x[0] - x[4]) + sq(x[1] - x[5]) - 1;
  ineq[5] = sq(x[0] - x[6]) + sq(x[1] - x[7]) - 1;
  ineq[6] = sq(x[2] - x[4]) + sq(x[3] - x[5]) - 1;
  ineq[7] = sq(x[2] - x[6]) + sq(x[3] - x[7]) - 1;
  ineq[8] = sq(x[6]) + sq(x[7] - x[8]) - 1;
  ineq[9] = x[1] * x[2] - x[0] * x[3];
  ineq[10] = -x[2] * x[8];
  ineq[11] = x[4] * x[8];
  ineq[12] = x[5] * x[6] - x[4] * x[7];
}

static EVALUATION(hs110) {
  double product = 1;
  *f = 0;
  for (int i = 0; i < 10; ++i) {
    *f += sq(log(x[i] - 2)) + sq(log(10 - x[i]));
    product *= x[i];
  }
  *f -= pow(product, 0.2);
}

/* Chemical equilibrium of ten species in logarithms of their amounts. */
static EVALUATION(hs111) {
  static const double energy[10] = {-6.089,  -17.164, -34.054, -5.914,  -24.721,
                                    -14.986, -24.100, -10.708, -26.662, -22.179};
  double amount[10], total = 0;
  for (int i = 0; i < 10; ++i) total += amount[i] = exp(x[i]);
  *f = 0;
  for (int i = 0; i < 10; ++i) *f += amount[i] * (energy[i] + x[i] - log(total));
  eq[0] = amount[0] + 2 * amount[1] + 2 * amount[2] + amount[5] + amount[9] - 2;
  eq[1] = amount[3] + 2 * amount[4] + amount[5] + amount[6] - 1;
  eq[2] = amount[2] + amount[6] + amount[7] + 2 * amount[8] + amount[9] - 1;
}

static EVALUATION(hs113) {
  const double a = x[0], b = x[1], c = x[2], d = x[3], e = x[4];
  *f = sq(a) + sq(b) + a * b - 14 * a - 16 * b + sq(c - 10) + 4 * sq(d - 5) + sq(e - 3) +
       2 * sq(x[5] - 1) + 5 * sq(x[6]) + 7 * sq(x[7] - 11) + 2 * sq(x[8] - 10) + sq(x[9] - 7) + 45;
  ineq[0] = 4 * a + 5 * b - 3 * x[6] + 9 * x[7] - 105;
  ineq[1] = 10 * a - 8 * b - 17 * x[6] + 2 * x[7];
  ineq[2] = -8 * a + 2 * b + 5 * x[8] - 2 * x[9] - 12;
  ineq[3] = 3 * sq(a - 2) + 4 * sq(b - 3) + 2 * sq(c) - 7 * d - 120;
  ineq[4] = 5 * sq(a) + 8 * b + sq(c - 6) - 2 * d - 40;
  ineq[5] = 0.5 * sq(a - 8) + 2 * sq(b - 4) + 3 * sq(e) - x[5] - 30;
  ineq[6] = sq(a) + 2 * sq(b - 2) - 2 * a * b + 14 * e - 6 * x[5];
  ineq[7] = -3 * a + 6 * b + 12 * sq(x[8] - 8) - 7 * x[9];
}

/* Alkylation plant: regression formulas may miss by the factors a and b either way. */
static EVALUATION(hs114) {
  const double a = 0.99, b = 0.9;
  const double g1 = 35.82 - 0.222 * x[9] - b * x[8];
  const double g2 = -133 + 3 * x[6] - a * x[9];
  const double g5 = 1.12 * x[0] + 0.13167 * x[0] * x[7] - 0.00667 * x[0] * sq(x[7]) - a * x[3];
  const double g6 = 57.425 + 1.098 * x[7] - 0.038 * sq(x[7]) + 0.325 * x[5] - a * x[6];
  *f = 5.04 * x[0] + 0.035 * x[1] + 10 * x[2] + 3.36 * x[4] - 0.063 * x[3] * x[6];
  eq[0] = 1.22 * x[3] - x[0] - x[4];
  eq[1] = 98000 * x[2] / (x[3] * x[8] + 1000 * x[2]) - x[5];
  eq[2] = (x[1] + x[4]) / x[0] - x[7];
  ineq[0] = -g1;
  ineq[1] = -g2;
  ineq[2] = g1 - x[8] * (1 / b - b);
  ineq[3] = g2 - (1 / a - a) * x[9];
  ineq[4] = -g5;
  ineq[5] = -g6;
  ineq[6] = g5 - (1 / a - a) * x[3];
  ineq[7] = g6 - (1 / a - a) * x[6];
}

static EVALUATION(hs117) {
  const double* y = x + 10;
  *f = colvilleQuadratic(y);
  for (int j = 0; j < 10; ++j) *f -= colvilleB[j] * x[j];
  for (int j = 0; j < 5; ++j) *f += 2 * colvilleD[j] * cube(y[j]);
  for (int j = 0; j < 5; ++j) {
    ineq[j] = -3 * colvilleD[j] * sq(y[j]) - colvilleE[j];
    for (int k = 0; k < 5; ++k) ineq[j] -= 2 * colvilleC[k][j] * y[k];
    for (int k = 0; k < 10; ++k) ineq[j] += colvilleA[k][j] * x[k];
  }
}

/* Production plan of three goods over five periods. */
static EVALUATION(hs118) {
  static const double linear[3] = {2.3, 1.7, 2.2}, quadratic[3] = {1e-4, 1e-4, 1.5e-4};
  static const double demand[5] = {60, 50, 70, 85, 100}, rise[3] = {6, 7, 6};
  *f = 0;
  for (int i = 0; i < 15; ++i) *f += linear[i % 3] * x[i] + quadratic[i % 3] * sq(x[i]);
  for (int i = 3; i < 15; ++i) {
    ineq[2 * (i - 3)] = x[i - 3] - x[i] - 7;
    ineq[2 * (i - 3) + 1] = x[i] - x[i - 3] - rise[i % 3];
  }
  for (int t = 0; t < 5; ++t) ineq[24 + t] = demand[t] - x[3 * t] - x[3 * t + 1] - x[3 * t + 2];
}

#define BOOK "Hock & Schittkowski 1981, problem "

/* clang-format off */
static const Problem table[] = {
    {.name = "HS5", .source = BOOK "5",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = hs5,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = VALUES(-1.5, -3), .upper = VALUES(4, 3),
     .best = VALUES(-0.5471975511965976, -1.5471975511965976), .fBest = -1.9132229549810362},
    {.name = "HS6", .source = BOOK "6; box added",
     .n = 2, .nEq = 1, .nIneq = 0, .evaluate = hs6,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(-1.2, 1), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 0},
    {.name = "HS7", .source = BOOK "7; box added",
     .n = 2, .nEq = 1, .nIneq = 0, .evaluate = hs7,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0, 1.7320508075688772), .fBest = -1.7320508075688772},
    {.name = "HS10", .source = BOOK "10; box added",
     .n = 2, .nEq = 0, .nIneq = 1, .evaluate = hs10,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(-10, 10), .lower = VALUES(-20, -20), .upper = VALUES(20, 20),
     .best = VALUES(0, 1), .fBest = -1},
    {.name = "HS12", .source = BOOK "12; box added",
     .n = 2, .nEq = 0, .nIneq = 1, .evaluate = hs12,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(2, 3), .fBest = -30},
    {.name = "HS14", .source = BOOK "14; box added",
     .n = 2, .nEq = 1, .nIneq = 1, .evaluate = hs14,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.8228756555322954, 0.9114378277661477), .fBest = 1.393464980689302},
    {.name = "HS15", .source = BOOK "15; box added",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = hs15,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(-2, 1), .lower = allMinusTen, .upper = VALUES(0.5, 10),
     .best = VALUES(0.5, 2), .fBest = 306.5},
    {.name = "HS18", .source = BOOK "18",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = hs18,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2), .lower = VALUES(2, 0), .upper = VALUES(50, 50),
     .best = VALUES(15.811388300841896, 1.5811388300841898), .fBest = 5},
    {.name = "HS19", .source = BOOK "19",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = hs19,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(20.1, 5.84), .lower = VALUES(13, 0), .upper = VALUES(100, 100),
     .best = VALUES(14.095, 0.8429607892154776), .fBest = -6961.813875580139},
    {.name = "HS22", .source = BOOK "22; box added",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = hs22,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 1},
    {.name = "HS23", .source = BOOK "23",
     .n = 2, .nEq = 0, .nIneq = 5, .evaluate = hs23,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = VALUES(3, 1), .lower = VALUES(-50, -50), .upper = VALUES(50, 50),
     .best = allOne, .fBest = 2},
    {.name = "HS24", .source = BOOK "24; box added",
     .n = 2, .nEq = 0, .nIneq = 3, .evaluate = hs24,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(1, 0.5), .lower = allZero, .upper = allTen,
     .best = VALUES(3, 1.7320508075688772), .fBest = -1},
    {.name = "HS26", .source = BOOK "26; box added",
     .n = 3, .nEq = 1, .nIneq = 0, .evaluate = hs26,
     .start = VALUES(-2.6, 2, 2), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 0},
    {.name = "HS27", .source = BOOK "27; box added",
     .n = 3, .nEq = 1, .nIneq = 0, .evaluate = hs27,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2, 2), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(-1, 1, 0), .fBest = 0.04},
    {.name = "HS28", .source = BOOK "28; box added",
     .n = 3, .nEq = 1, .nIneq = 0, .evaluate = hs28,
     .start = VALUES(-4, 1, 1), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.5, -0.5, 0.5), .fBest = 0},
    {.name = "HS29", .source = BOOK "29; box added",
     .n = 3, .nEq = 0, .nIneq = 1, .evaluate = hs29,
     .start = allOne, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(4, 2.8284271247461903, 2), .fBest = -22.627416997969522},
    {.name = "HS31", .source = BOOK "31",
     .n = 3, .nEq = 0, .nIneq = 1, .evaluate = hs31,
     .start = allOne, .lower = VALUES(-10, 1, -10), .upper = VALUES(10, 10, 1),
     .best = VALUES(0.5773502691896258, 1.7320508075688772, 0), .fBest = 6},
    {.name = "HS32", .source = BOOK "32; box added",
     .n = 3, .nEq = 1, .nIneq = 1, .evaluate = hs32,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(0.1, 0.7, 0.2), .lower = allZero, .upper = allTen,
     .best = VALUES(0, 0, 1), .fBest = 1},
    {.name = "HS34", .source = BOOK "34",
     .n = 3, .nEq = 0, .nIneq = 2, .evaluate = hs34,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(0, 1.05, 2.9), .lower = allZero, .upper = VALUES(100, 100, 10),
     .best = VALUES(0.834032445247956, 2.302585092994046, 10), .fBest = -0.834032445247956},
    {.name = "HS35", .source = BOOK "35; box added",
     .n = 3, .nEq = 0, .nIneq = 1, .evaluate = hs35,
     .start = VALUES(0.5, 0.5, 0.5), .lower = allZero, .upper = allTen,
     .best = VALUES(1.3333333333333333, 0.7777777777777778, 0.4444444444444444),
     .fBest = 0.11111111111111116},
    {.name = "HS37", .source = BOOK "37",
     .n = 3, .nEq = 0, .nIneq = 2, .evaluate = hs37,
     .flags = PROBLEM_REDUNDANT | PROBLEM_OTHER_MINIMA,
     .start = allTen, .lower = allZero, .upper = VALUES(42, 42, 42),
     .best = VALUES(24, 12, 12), .fBest = -3456},
    {.name = "HS38", .source = BOOK "38",
     .n = 4, .nEq = 0, .nIneq = 0, .evaluate = hs38,
     .start = VALUES(-3, -1, -3, -1), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 0},
    {.name = "HS39", .source = BOOK "39; box added",
     .n = 4, .nEq = 2, .nIneq = 0, .evaluate = hs39,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2, 2, 2), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(1, 1, 0, 0), .fBest = -1},
    {.name = "HS40", .source = BOOK "40; box added",
     .n = 4, .nEq = 3, .nIneq = 0, .evaluate = hs40,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = VALUES(0.8, 0.8, 0.8, 0.8), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.7937005259840998, 0.7071067811865476, 0.5297315471796477, 0.8408964152537145),
     .fBest = -0.25000000000000006},
    {.name = "HS42", .source = BOOK "42; box added",
     .n = 4, .nEq = 2, .nIneq = 0, .evaluate = hs42,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = allOne, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(2, 2, 0.848528137423857, 1.1313708498984762), .fBest = 13.857864376269045},
    {.name = "HS43", .source = BOOK "43; box added",
     .n = 4, .nEq = 0, .nIneq = 3, .evaluate = hs43,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0, 1, 2, -1), .fBest = -44},
    {.name = "HS48", .source = BOOK "48; box added",
     .n = 5, .nEq = 2, .nIneq = 0, .evaluate = hs48,
     .start = VALUES(3, 5, -3, 2, -2), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 0},
    {.name = "HS53", .source = BOOK "53",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs53,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(FIVE(2)), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(-0.7674418604651163, 0.2558139534883721, 0.627906976744186,
                    -0.11627906976744186, 0.2558139534883721),
     .fBest = 4.093023255813954},
    {.name = "HS55", .source = BOOK "55; box added",
     .n = 6, .nEq = 6, .nIneq = 0, .evaluate = hs55,
     .flags = PROBLEM_REDUNDANT | PROBLEM_DEGENERATE | PROBLEM_OTHER_MINIMA |
              PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(1, 2, 0, 0, 0, 2), .lower = allZero, .upper = VALUES(1, 10, 10, 1, 10, 10),
     .best = VALUES(0, 1.3333333333333333, 1.6666666666666667, 1, 0.6666666666666666,
                    0.3333333333333333),
     .fBest = 6.333333333333333},
    {.name = "HS60", .source = BOOK "60",
     .n = 3, .nEq = 1, .nIneq = 0, .evaluate = hs60,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2, 2), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(1.1048590197334174, 1.1966741822883649, 1.5352622603252895),
     .fBest = 0.03256820025506983},
    {.name = "HS61", .source = BOOK "61; box added",
     .n = 3, .nEq = 2, .nIneq = 0, .evaluate = hs61,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(5.326770135593903, -2.1189986322295855, 3.210464225369224),
     .fBest = -143.64614219778028},
    {.name = "HS63", .source = BOOK "63; box added",
     .n = 3, .nEq = 2, .nIneq = 0, .evaluate = hs63,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2, 2), .lower = allZero, .upper = allTen,
     .best = VALUES(3.5121213425911533, 0.21698794145827166, 3.5521711541221395),
     .fBest = 961.7151721300522},
    {.name = "HS65", .source = BOOK "65; start moved into the box",
     .n = 3, .nEq = 0, .nIneq = 1, .evaluate = hs65,
     .start = VALUES(-4.5, 4.5, 0), .lower = VALUES(-4.5, -4.5, -5), .upper = VALUES(4.5, 4.5, 5),
     .best = VALUES(3.650461725210812, 3.6504617252135554, 4.620417555321357),
     .fBest = 0.9535288568047824},
    {.name = "HS66", .source = BOOK "66",
     .n = 3, .nEq = 0, .nIneq = 2, .evaluate = hs66,
     .start = VALUES(0, 1.05, 2.9), .lower = allZero, .upper = VALUES(100, 100, 10),
     .best = VALUES(0.1841264879191799, 1.2021678731926335, 3.327322322584424),
     .fBest = 0.518163274181541},
    {.name = "HS71", .source = BOOK "71",
     .n = 4, .nEq = 1, .nIneq = 1, .evaluate = hs71,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(1, 5, 5, 1), .lower = allOne, .upper = VALUES(5, 5, 5, 5),
     .best = VALUES(1, 4.7429996372603265, 3.821149984190218, 1.3794082931719314),
     .fBest = 17.01401728915629},
    {.name = "HS72", .source = BOOK "72",
     .n = 4, .nEq = 0, .nIneq = 2, .evaluate = hs72, .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(1, 1, 1, 1), .lower = VALUES(0.001, 0.001, 0.001, 0.001),
     .upper = VALUES(4e5, 3e5, 2e5, 1e5),
     .best = VALUES(193.40742727194637, 179.5470760322746, 185.01806335815155,
                    168.70679112724056),
     .fBest = 727.679357789613},
    {.name = "HS73", .source = BOOK "73; box added",
     .n = 4, .nEq = 1, .nIneq = 2, .evaluate = hs73,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = allOne, .lower = allZero, .upper = VALUES(5, 5, 5, 5),
     .best = VALUES(0.635521568635159, 0, 0.312701880751515, 0.0517765506133268),
     .fBest = 29.894378159141976},
    {.name = "HS74", .source = BOOK "74",
     .n = 4, .nEq = 3, .nIneq = 2, .evaluate = hs74,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = allZero, .lower = VALUES(0, 0, -0.55, -0.55), .upper = VALUES(1200, 1200, 0.55, 0.55),
     .best = VALUES(679.9453199050588, 1026.0671325529245, 0.11887636445470268,
                    -0.3962335532214356),
     .fBest = 5126.49810959526},
    {.name = "HS76", .source = BOOK "76; box added",
     .n = 4, .nEq = 0, .nIneq = 3, .evaluate = hs76,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(0.5, 0.5, 0.5, 0.5), .lower = allZero, .upper = allTen,
     .best = VALUES(0.2727272727272727, 2.090909090909091, 0, 0.5454545454545454),
     .fBest = -4.681818181818182},
    {.name = "HS77", .source = BOOK "77; box added",
     .n = 5, .nEq = 2, .nIneq = 0, .evaluate = hs77,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = VALUES(FIVE(2)), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(1.1661721897087691, 1.1821113888023953, 1.380257043145304, 1.5060362736234139,
                    0.6109201960412861),
     .fBest = 0.24150512879017877},
    {.name = "HS78", .source = BOOK "78; box added",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs78,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = VALUES(-2, 1.5, 2, -1, -1), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(-1.7171435703931903, 1.5957096901821743, 1.82724575292941, -0.7636430782058153,
                    -0.7636430781627108),
     .fBest = -2.9197004089636827},
    {.name = "HS79", .source = BOOK "79; box added",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs79,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = VALUES(FIVE(2)), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(1.1911274563112269, 1.3626031649618544, 1.4728179315120138, 1.6350166191676625,
                    1.6790814361661601),
     .fBest = 0.07877682087105692},
    {.name = "HS80", .source = BOOK "80",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs80,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = VALUES(-2, 2, 2, -1, -1),
     .lower = VALUES(-2.3, -2.3, -3.2, -3.2, -3.2), .upper = VALUES(2.3, 2.3, 3.2, 3.2, 3.2),
     .best = VALUES(-1.7171435703883842, 1.5957096901766088, 1.8272457529383395, -0.763643078186873,
                    -0.7636430781827215),
     .fBest = 0.053949847770272},
    {.name = "HS83", .source = BOOK "83",
     .n = 5, .nEq = 0, .nIneq = 6, .evaluate = hs83,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(78, 33, 27, 27, 27),
     .lower = VALUES(78, 33, 27, 27, 27), .upper = VALUES(102, 45, 45, 45, 45),
     .best = VALUES(78, 33, 29.995256025681584, 45, 36.77581290578747),
     .fBest = -30665.53867178337},
    {.name = "HS86", .source = BOOK "86; box added",
     .n = 5, .nEq = 0, .nIneq = 10, .evaluate = hs86,
     .start = VALUES(0, 0, 0, 0, 1), .lower = allZero, .upper = allTen,
     .best = VALUES(0.2999999999999978, 0.33346760653057994, 0.4000000000000094,
                    0.42831010477192805, 0.22396487357022402),
     .fBest = -32.348678965722875},
    {.name = "HS93", .source = BOOK "93; transformer, box added",
     .n = 6, .nEq = 0, .nIneq = 2, .evaluate = hs93,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(5.54, 4.4, 12.02, 11.82, 0.702, 0.852),
     .lower = allZero, .upper = VALUES(20, 20, 30, 30, 3, 3),
     .best = VALUES(5.332666335626152, 4.656744059204442, 10.432991940934658, 12.082306339279695,
                    0.7526074362262437, 0.8786508746519002),
     .fBest = 135.07596282915128},
    {.name = "HS100", .source = BOOK "100; box added",
     .n = 7, .nEq = 0, .nIneq = 4, .evaluate = hs100,
     .start = VALUES(1, 2, 0, 4, 0, 1, 1), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(2.330499372856714, 1.951372372919768, -0.47754139274413193, 4.365726233596114,
                    -0.6244869704041471, 1.0381310184638384, 1.5942267115750521),
     .fBest = 680.6300573744022},
    {.name = "HS104", .source = BOOK "104",
     .n = 8, .nEq = 0, .nIneq = 6, .evaluate = hs104,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(6, 3, 0.4, 0.2, 6, 6, 1, 0.5),
     .lower = VALUES(FIVE(0.1), 0.1, 0.1, 0.1), .upper = allTen,
     .best = VALUES(6.465114028042551, 2.2327086482579968, 0.6673974912931967, 0.5957564228969539,
                    5.932675677965066, 5.5272345649874834, 1.013322008986739, 0.4006682291414866),
     .fBest = 3.9511634401033526},
    {.name = "HS106", .source = BOOK "106; heat exchangers, last three constraints divided by 1e5",
     .n = 8, .nEq = 0, .nIneq = 6, .evaluate = hs106,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START,
     .start = VALUES(5000, 5000, 5000, 200, 350, 150, 225, 425),
     .lower = VALUES(100, 1000, 1000, FIVE(10)), .upper = VALUES(10000, 10000, 10000, FIVE(1000)),
     .best = VALUES(579.3066850179796, 1359.970678079356, 5109.970657431333, 182.01769963061534,
                    295.6011737027468, 217.98230036938463, 286.4165259278685, 395.60117370274673),
     .fBest = 7049.248020528668},
    {.name = "HS108", .source = BOOK "108; box added",
     .n = 9, .nEq = 0, .nIneq = 13, .evaluate = hs108,
     .flags = PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = allOne,
     .lower = VALUES(FIVE(-2), -2, -2, -2, 0), .upper = VALUES(FIVE(2), 2, 2, 2, 2),
     .best = VALUES(-0.6577761924279432, -0.15341877348243854, 0.32341387167524094,
                    -0.9462576116513044, -0.6577761943767989, -0.7532134346326914,
                    0.32341387412357697, -0.34646294796233174, 0.5997946628521754),
     .fBest = -0.8660254037844387},
    {.name = "HS110", .source = BOOK "110",
     .n = 10, .nEq = 0, .nIneq = 0, .evaluate = hs110,
     .start = VALUES(TEN(9)), .lower = VALUES(TEN(2.001)), .upper = VALUES(TEN(9.999)),
     .best = VALUES(9.350265833069155, 9.350265833069155, 9.35026583307043, 9.350265833064451,
                    9.350265833055543, 9.350265833065574, 9.350265833058033, 9.350265833078778,
                    9.350265833068743, 9.350265833061021),
     .fBest = -45.77846970744629},
    {.name = "HS111", .source = BOOK "111; box narrowed",
     .n = 10, .nEq = 3, .nIneq = 0, .evaluate = hs111,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(TEN(-2.3)), .lower = allMinusTen, .upper = VALUES(TEN(2)),
     .best = VALUES(-3.2023115830189197, -1.9123665976829334, -0.24442674806145082,
                    -6.561177240794281, -0.7230979633334772, -7.274232200706152,
                    -3.5972374245798107, -4.0203167303548755, -3.28837688250866,
                    -2.3343717352464943),
     .fBest = -47.761090859365396},
    {.name = "HS113", .source = BOOK "113; box added",
     .n = 10, .nEq = 0, .nIneq = 8, .evaluate = hs113,
     .start = VALUES(2, 3, 5, 5, 1, 2, 7, 3, 6, 10),
     .lower = VALUES(TEN(-20)), .upper = VALUES(TEN(20)),
     .best = VALUES(2.1719963712596853, 2.363682973688009, 8.773925738477516, 5.095984487959152,
                    0.9906547649510663, 1.4305739789106722, 1.3216442081692323, 9.828725807892102,
                    8.280091670107689, 8.375926663918491),
     .fBest = 24.3062090681798},
    {.name = "HS114", .source = BOOK "114; alkylation plant",
     .n = 10, .nEq = 3, .nIneq = 8, .evaluate = hs114,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(1745, 12000, 110, 3048, 1974, 89.2, 92.8, 8, 3.6, 145),
     .lower = VALUES(FIVE(1e-05), 85, 90, 3, 1.2, 145),
     .upper = VALUES(2000, 16000, 120, 5000, 2000, 93, 95, 12, 4, 162),
     .best = VALUES(1698.0947651948175, 15818.61492491714, 54.10268233059869, 3031.225217372801,
                    2000, 90.11542219862044, 95, 10.493298307101936, 1.561636363636338,
                    153.53535353535366),
     .fBest = -1768.8069637162498},
    {.name = "HS117", .source = BOOK "117; box added",
     .n = 15, .nEq = 0, .nIneq = 5, .evaluate = hs117,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(FIVE(0.001), 0.001, 60, FIVE(0.001), 0.001, 0.001, 0.001),
     .lower = allZero, .upper = VALUES(TEN(100), FIVE(100)),
     .best = VALUES(0, 0, 5.174040727263752, 0, 3.061108687840261, 11.839545664624, 0, 0,
                    0.10389619087699678, 0, 0.30000000004282695, 0.3334676065130141,
                    0.40000000002414976, 0.4283101047617706, 0.22396487359632497),
     .fBest = 32.34867896572249},
    {.name = "HS118", .source = BOOK "118",
     .n = 15, .nEq = 0, .nIneq = 29, .evaluate = hs118,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(20, 55, 15, 20, 60, 20, 20, 60, 20, 20, 60, 20, 20, 60, 20),
     .lower = VALUES(8, 43, 3, TEN(0), 0, 0),
     .upper = VALUES(21, 57, 16, 90, 120, 60, 90, 120, 60, 90, 120, 60, 90, 120, 60),
     .best = VALUES(8, 49, 3, 1, 56, 0, 1, 63, 6, 3, 70, 12, 5, 77, 18),
     .fBest = 664.8204499999999},
};
/* clang-format on */

const ProblemFamily hockSchittkowskiFamily = FAMILY(table);

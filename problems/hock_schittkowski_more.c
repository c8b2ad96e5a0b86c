/* The rest of W. Hock and K. Schittkowski, Test Examples for Nonlinear Programming Codes (1981), as
 * far as a closed formula gives it. Constraints that the book writes as g >= 0 stand here as
 * -g <= 0. */
#include <math.h>

#include "family.h"

/* Rosenbrock's valley, which several problems of the book cut off. */
static double valley(const double* x) {
  return 100 * sq(x[1] - sq(x[0])) + sq(1 - x[0]);
}

static EVALUATION(hs1) {
  *f = valley(x);
}

static EVALUATION(hs3) {
  *f = x[1] + 1e-5 * sq(x[1] - x[0]);
}

static EVALUATION(hs4) {
  *f = cube(x[0] + 1) / 3 + x[1];
}

static EVALUATION(hs8) {
  *f = -1;
  eq[0] = sq(x[0]) + sq(x[1]) - 25;
  eq[1] = x[0] * x[1] - 9;
}

static EVALUATION(hs9) {
  const double pi = 3.14159265358979323846;
  *f = sin(pi * x[0] / 12) * cos(pi * x[1] / 16);
  eq[0] = 4 * x[0] - 3 * x[1];
}

static EVALUATION(hs11) {
  *f = sq(x[0] - 5) + sq(x[1]) - 25;
  ineq[0] = sq(x[0]) - x[1];
}

static EVALUATION(hs16) {
  *f = valley(x);
  ineq[0] = -x[0] - sq(x[1]);
  ineq[1] = -sq(x[0]) - x[1];
}

static EVALUATION(hs17) {
  *f = valley(x);
  ineq[0] = x[0] - sq(x[1]);
  ineq[1] = x[1] - sq(x[0]);
}

static EVALUATION(hs20) {
  hs16(user, x, f, eq, ineq);
  ineq[2] = 1 - sq(x[0]) - sq(x[1]);
}

static EVALUATION(hs21) {
  *f = 0.01 * sq(x[0]) + sq(x[1]) - 100;
  ineq[0] = 10 - 10 * x[0] + x[1];
}

static EVALUATION(hs25) {
  *f = 0;
  for (int i = 1; i <= 99; ++i) {
    const double u = 25 + pow(-50 * log(0.01 * i), 2.0 / 3);
    *f += sq(exp(-pow(u - x[1], x[2]) / x[0]) - 0.01 * i);
  }
}

static EVALUATION(hs30) {
  *f = sq(x[0]) + sq(x[1]) + sq(x[2]);
  ineq[0] = 1 - sq(x[0]) - sq(x[1]);
}

static EVALUATION(hs33) {
  *f = (x[0] - 1) * (x[0] - 2) * (x[0] - 3) + x[2];
  ineq[0] = sq(x[0]) + sq(x[1]) - sq(x[2]);
  ineq[1] = 4 - sq(x[0]) - sq(x[1]) - sq(x[2]);
}

static EVALUATION(hs36) {
  *f = -x[0] * x[1] * x[2];
  ineq[0] = x[0] + 2 * x[1] + 2 * x[2] - 72;
}

static EVALUATION(hs41) {
  *f = 2 - x[0] * x[1] * x[2];
  eq[0] = x[0] + 2 * x[1] + 2 * x[2] - x[3];
}

static EVALUATION(hs44) {
  *f = x[0] - x[1] - x[2] - x[0] * x[2] + x[0] * x[3] + x[1] * x[2] - x[1] * x[3];
  ineq[0] = x[0] + 2 * x[1] - 8;
  ineq[1] = 4 * x[0] + x[1] - 12;
  ineq[2] = 3 * x[0] + 4 * x[1] - 12;
  ineq[3] = 2 * x[2] + x[3] - 8;
  ineq[4] = x[2] + 2 * x[3] - 8;
  ineq[5] = x[2] + x[3] - 5;
}

static EVALUATION(hs45) {
  *f = 2 - x[0] * x[1] * x[2] * x[3] * x[4] / 120;
}

static EVALUATION(hs46) {
  *f = sq(x[0] - x[1]) + sq(x[2] - 1) + sq(sq(x[3] - 1)) + sq(cube(x[4] - 1));
  eq[0] = sq(x[0]) * x[3] + sin(x[3] - x[4]) - 1;
  eq[1] = x[1] + sq(sq(x[2])) * sq(x[3]) - 2;
}

static EVALUATION(hs47) {
  *f = sq(x[0] - x[1]) + cube(x[1] - x[2]) + sq(sq(x[2] - x[3])) + sq(sq(x[3] - x[4]));
  eq[0] = x[0] + sq(x[1]) + cube(x[2]) - 3;
  eq[1] = x[1] - sq(x[2]) + x[3] - 1;
  eq[2] = x[0] * x[4] - 1;
}

static EVALUATION(hs49) {
  *f = sq(x[0] - x[1]) + sq(x[2] - 1) + sq(sq(x[3] - 1)) + sq(cube(x[4] - 1));
  eq[0] = x[0] + x[1] + x[2] + 4 * x[3] - 7;
  eq[1] = x[2] + 5 * x[4] - 6;
}

static EVALUATION(hs50) {
  *f = sq(x[0] - x[1]) + sq(x[1] - x[2]) + sq(sq(x[2] - x[3])) + sq(x[3] - x[4]);
  for (int i = 0; i < 3; ++i) eq[i] = x[i] + 2 * x[i + 1] + 3 * x[i + 2] - 6;
}

static EVALUATION(hs51) {
  *f = sq(x[0] - x[1]) + sq(x[1] + x[2] - 2) + sq(x[3] - 1) + sq(x[4] - 1);
  eq[0] = x[0] + 3 * x[1] - 4;
  eq[1] = x[2] + x[3] - 2 * x[4];
  eq[2] = x[1] - x[4];
}

static EVALUATION(hs52) {
  *f = sq(4 * x[0] - x[1]) + sq(x[1] + x[2] - 2) + sq(x[3] - 1) + sq(x[4] - 1);
  eq[0] = x[0] + 3 * x[1];
  eq[1] = x[2] + x[3] - 2 * x[4];
  eq[2] = x[1] - x[4];
}

static EVALUATION(hs56) {
  *f = -x[0] * x[1] * x[2];
  for (int i = 0; i < 3; ++i) eq[i] = x[i] - 4.2 * sq(sin(x[3 + i]));
  eq[3] = x[0] + 2 * x[1] + 2 * x[2] - 7.2 * sq(sin(x[6]));
}

/* Chlorine left in a product after 8 and more weeks. */
static EVALUATION(hs57) {
  static const struct {
    int weeks, count;
    double chlorine[4];
  } data[] = {{8, 2, {0.49, 0.49}},
              {10, 4, {0.48, 0.47, 0.48, 0.47}},
              {12, 4, {0.46, 0.46, 0.45, 0.43}},
              {14, 3, {0.45, 0.43, 0.43}},
              {16, 3, {0.44, 0.43, 0.43}},
              {18, 2, {0.46, 0.45}},
              {20, 3, {0.42, 0.42, 0.43}},
              {22, 3, {0.41, 0.41, 0.40}},
              {24, 3, {0.42, 0.40, 0.40}},
              {26, 3, {0.41, 0.40, 0.41}},
              {28, 2, {0.41, 0.40}},
              {30, 3, {0.40, 0.40, 0.38}},
              {32, 2, {0.41, 0.40}},
              {34, 1, {0.40}},
              {36, 2, {0.41, 0.38}},
              {38, 2, {0.40, 0.40}},
              {40, 1, {0.39}},
              {42, 1, {0.39}}};
  *f = 0;
  for (unsigned k = 0; k < sizeof data / sizeof *data; ++k)
    for (int i = 0; i < data[k].count; ++i)
      *f += sq(data[k].chlorine[i] - x[0] - (0.49 - x[0]) * exp(-x[1] * (data[k].weeks - 8)));
  ineq[0] = 0.09 - 0.49 * x[1] + x[0] * x[1];
}

static EVALUATION(hs59) {
  const double a = x[0], b = x[1], a2 = sq(a), a3 = cube(a), b2 = sq(b), b3 = cube(b);
  *f = -75.196 + 3.8112 * a - 0.12694 * a2 + 2.0567e-3 * a3 - 1.0345e-5 * sq(a2) + 6.8306 * b -
       0.030234 * a * b + 1.28134e-3 * a2 * b - 3.5256e-5 * a3 * b + 2.266e-7 * sq(a2) * b -
       0.25645 * b2 + 3.4604e-3 * b3 - 1.3514e-5 * sq(b2) + 28.106 / (b + 1) + 5.2375e-6 * a2 * b2 +
       6.3e-8 * a3 * b2 - 7e-10 * a3 * b3 - 3.405e-4 * a * b2 + 1.6638e-6 * a * b3 +
       2.8673 * exp(0.0005 * a * b);
  ineq[0] = 700 - a * b;
  ineq[1] = a2 / 125 - b;
  ineq[2] = 5 * (a - 55) - sq(b - 50);
}

static EVALUATION(hs62) {
  const double c = x[2] + 0.03, bc = x[1] + c, abc = x[0] + bc;
  *f = -32.174 * (255 * log(abc / (0.09 * x[0] + bc)) + 280 * log(bc / (0.07 * x[1] + c)) +
                  290 * log(c / (0.13 * x[2] + 0.03)));
  eq[0] = x[0] + x[1] + x[2] - 1;
}

static EVALUATION(hs64) {
  *f = 5 * x[0] + 5e4 / x[0] + 20 * x[1] + 7.2e4 / x[1] + 10 * x[2] + 1.44e5 / x[2];
  ineq[0] = 4 / x[0] + 32 / x[1] + 120 / x[2] - 1;
}

/* Cost optimal inspection plan: sample of n, shift of d, costs a and b. */
static double normal(double t) {
  return 0.5 * erfc(-t / sqrt(2));
}
static void inspection(const double* x, double* f, double* eq, double a, double b, double d,
                       int n) {
  const double growth = exp(x[0]) - 1, root = sqrt(n);
  *f = (a * n - (b * growth - x[2]) * x[3] / (growth + x[3])) / x[0];
  eq[0] = x[2] - 2 * normal(-x[1]);
  eq[1] = x[3] - normal(-x[1] + d * root) - normal(-x[1] - d * root);
}
static EVALUATION(hs68) {
  inspection(x, f, eq, 0.0001, 1, 1, 24);
}
static EVALUATION(hs69) {
  inspection(x, f, eq, 0.1, 1000, 1, 4);
}

/* Problem 74 with a smaller limit of the angles, which then holds one of them. */
static EVALUATION(hs75) {
  *f = 3 * x[0] + 1e-6 * cube(x[0]) + 2 * x[1] + 2e-6 / 3 * cube(x[1]);
  eq[0] = 1000 * (sin(-x[2] - 0.25) + sin(-x[3] - 0.25)) + 894.8 - x[0];
  eq[1] = 1000 * (sin(x[2] - 0.25) + sin(x[2] - x[3] - 0.25)) + 894.8 - x[1];
  eq[2] = 1000 * (sin(x[3] - 0.25) + sin(x[3] - x[2] - 0.25)) + 1294.8;
  ineq[0] = x[2] - x[3] - 0.48;
  ineq[1] = x[3] - x[2] - 0.48;
}

static EVALUATION(hs81) {
  eq[0] = sq(x[0]) + sq(x[1]) + sq(x[2]) + sq(x[3]) + sq(x[4]) - 10;
  eq[1] = x[1] * x[2] - 5 * x[3] * x[4];
  eq[2] = cube(x[0]) + cube(x[1]) + 1;
  *f = exp(x[0] * x[1] * x[2] * x[3] * x[4]) - 0.5 * sq(eq[2]);
}

static EVALUATION(hs84) {
  static const double a[4][5] = {
      {-8720288.849, 150512.5253, -156.6950325, 476470.3222, 729482.8271},
      {-145421.402, 2931.1506, -40.427932, 5106.192, 15711.36},
      {-155011.1084, 4360.53352, 12.9492344, 10236.884, 13176.786},
      {-326669.5104, 7390.68412, -27.8986976, 16643.076, 30988.146}};
  static const double limit[4] = {0, 294000, 294000, 277200};
  double value[4];
  for (int k = 0; k < 4; ++k) {
    value[k] = a[k][0];
    for (int j = 1; j < 5; ++j) value[k] += a[k][j] * x[j];
    value[k] *= x[0];
  }
  *f = (24345 - value[0]) / 1e4;
  for (int k = 1; k < 4; ++k) {
    ineq[k - 1] = -value[k] / 1e5;
    ineq[k + 2] = (value[k] - limit[k]) / 1e5;
  }
}

/* Problems 95 to 98 differ in the right hand sides b. */
static void fourLimits(const double* x, double* f, double* ineq, const double* b) {
  const double x1 = x[0], x2 = x[1], x3 = x[2], x4 = x[3], x5 = x[4], x6 = x[5];
  *f = 4.3 * x1 + 31.8 * x2 + 63.3 * x3 + 15.8 * x4 + 68.5 * x5 + 4.7 * x6;
  ineq[0] =
      b[0] - (17.1 * x1 + 38.2 * x2 + 204.2 * x3 + 212.3 * x4 + 623.4 * x5 + 1495.5 * x6 -
              169 * x1 * x3 - 3580 * x3 * x5 - 3810 * x4 * x5 - 18500 * x4 * x6 - 24300 * x5 * x6);
  ineq[1] = b[1] - (17.9 * x1 + 36.8 * x2 + 113.9 * x3 + 169.7 * x4 + 337.8 * x5 + 1385.2 * x6 -
                    139 * x1 * x3 - 2450 * x4 * x5 - 16600 * x4 * x6 - 17200 * x5 * x6);
  ineq[2] = b[2] - (-273 * x2 - 70 * x4 - 819 * x5 + 26000 * x4 * x5);
  ineq[3] = b[3] - (159.9 * x1 - 311 * x2 + 587 * x4 + 391 * x5 + 2198 * x6 - 14000 * x1 * x6);
}
static EVALUATION(hs95) {
  static const double b[4] = {4.97, -1.88, -29.08, -78.02};
  fourLimits(x, f, ineq, b);
}
static EVALUATION(hs97) {
  static const double b[4] = {32.97, 25.12, -29.08, -78.02};
  fourLimits(x, f, ineq, b);
}

/* Rocket: range, height q and vertical speed s after seven stages of thrust a at the angles x. */
static EVALUATION(hs99) {
  static const double a[7] = {50, 50, 75, 75, 75, 100, 100};
  static const double t[8] = {0, 25, 50, 100, 150, 200, 290, 380};
  double range = 0, q = 0, s = 0;
  for (int i = 0; i < 7; ++i) {
    const double d = t[i + 1] - t[i], lift = a[i] * sin(x[i]) - 32;
    q += 0.5 * sq(d) * lift + d * s;
    s += d * lift;
    range += a[i] * d * cos(x[i]);
  }
  *f = -sq(range / 1e4);
  eq[0] = q / 1e4 - 10;
  eq[1] = s / 1e2 - 10;
}

/* Posynomials of problems 101 to 103, which differ in one exponent. */
static void posynomials(const double* x, double* f, double* ineq, double exponent) {
  const double x1 = x[0], x2 = x[1], x3 = x[2], x4 = x[3], x5 = x[4], x6 = x[5], x7 = x[6];
  const double root7 = sqrt(x7), third7 = cbrt(x7), fourth7 = pow(x7, 0.25);
  *f = 10 * x1 * sq(x4) * pow(x7, exponent) / (x2 * cube(x6)) +
       15 * x3 * x4 / (x1 * sq(x2) * x5 * root7) + 20 * x2 * x6 / (sq(x1) * x4 * sq(x5)) +
       25 * sq(x1 * x2) * sqrt(x5) * x7 / (x3 * sq(x6));
  ineq[0] = 0.5 * sqrt(x1) * x7 / (x3 * sq(x6)) + 0.7 * cube(x1) * x2 * x6 * root7 / sq(x3) +
            0.2 * x3 * pow(x6, 2.0 / 3) * fourth7 / (x2 * sqrt(x4)) - 1;
  ineq[1] = 1.3 * x2 * x6 / (sqrt(x1) * x3 * x5) + 0.8 * x3 * sq(x6) / (x4 * x5) +
            3.1 * sqrt(x2) * cbrt(x6) / (x1 * sq(x4) * x5) - 1;
  ineq[2] = 2 * x1 * x5 * third7 / (x3 * sqrt(x3) * x6) + 0.1 * x2 * x5 / (sqrt(x3) * x6 * root7) +
            x2 * sqrt(x3) * x5 / x1 + 0.65 * x3 * x5 * x7 / (sq(x2) * x6) - 1;
  ineq[3] = 0.2 * x2 * sqrt(x5) * third7 / (sq(x1) * x4) +
            0.3 * sqrt(x1) * sq(x2) * x3 * cbrt(x4) * fourth7 / pow(x5, 2.0 / 3) +
            0.4 * x3 * x5 * pow(x7, 0.75) / (cube(x1) * sq(x2)) + 0.5 * x4 * root7 / sq(x3) - 1;
  ineq[4] = (100 - *f) / 1000;
  ineq[5] = (*f - 3000) / 1000;
}
static EVALUATION(hs101) {
  posynomials(x, f, ineq, -0.25);
}
static EVALUATION(hs102) {
  posynomials(x, f, ineq, 0.125);
}
static EVALUATION(hs103) {
  posynomials(x, f, ineq, 0.5);
}

/* Static power scheduling: two generators, three nodes; powers, voltages x5 .. x7, two angles. */
static EVALUATION(hs107) {
  const double ratio = 48.4 / 50.176, c = ratio * sin(0.25), d = ratio * cos(0.25);
  const double v1 = x[4], v2 = x[5], v3 = x[6];
  const double y1 = sin(x[7]), y2 = cos(x[7]), y3 = sin(x[8]), y4 = cos(x[8]);
  const double y5 = sin(x[7] - x[8]), y6 = cos(x[7] - x[8]);
  *f = 3000 * x[0] + 1000 * cube(x[0]) + 2000 * x[1] + 666.667 * cube(x[1]);
  eq[0] = 0.4 - x[0] + 2 * c * sq(v1) - v1 * v2 * (d * y1 + c * y2) - v1 * v3 * (d * y3 + c * y4);
  eq[1] = 0.4 - x[1] + 2 * c * sq(v2) + v1 * v2 * (d * y1 - c * y2) + v2 * v3 * (d * y5 - c * y6);
  eq[2] = 0.8 + 2 * c * sq(v3) + v1 * v3 * (d * y3 - c * y4) - v2 * v3 * (d * y5 + c * y6);
  eq[3] = 0.2 - x[2] + 2 * d * sq(v1) + v1 * v2 * (c * y1 - d * y2) + v1 * v3 * (c * y3 - d * y4);
  eq[4] = 0.2 - x[3] + 2 * d * sq(v2) - v1 * v2 * (c * y1 + d * y2) - v2 * v3 * (c * y5 + d * y6);
  eq[5] = -0.337 + 2 * d * sq(v3) - v1 * v3 * (c * y3 + d * y4) + v2 * v3 * (c * y5 - d * y6);
}

/* Power flow: real powers, two angles, three voltages, reactive powers. */
static EVALUATION(hs109) {
  const double a = 50.176, b = sin(0.25), c = cos(0.25), shunt = 0.7533e-3 * a;
  const double p = x[2], q = x[3], v1 = x[4], v2 = x[5], v3 = x[6];
  *f = 3 * x[0] + 1e-6 * cube(x[0]) + 2 * x[1] + 0.522074e-6 * cube(x[1]);
  eq[0] = v1 * v2 * sin(-p - 0.25) + v1 * v3 * sin(-q - 0.25) + 2 * b * sq(v1) - a * x[0] + 400 * a;
  eq[1] =
      v1 * v2 * sin(p - 0.25) + v2 * v3 * sin(p - q - 0.25) + 2 * b * sq(v2) - a * x[1] + 400 * a;
  eq[2] = v1 * v3 * sin(q - 0.25) + v2 * v3 * sin(q - p - 0.25) + 2 * b * sq(v3) + 881.779 * a;
  eq[3] = a * x[7] + v1 * v2 * cos(-p - 0.25) + v1 * v3 * cos(-q - 0.25) - 200 * a +
          (shunt - 2 * c) * sq(v1);
  eq[4] = a * x[8] + v1 * v2 * cos(p - 0.25) + v2 * v3 * cos(p - q - 0.25) - 200 * a +
          (shunt - 2 * c) * sq(v2);
  eq[5] =
      v1 * v3 * cos(q - 0.25) + v2 * v3 * cos(q - p - 0.25) + 22.938 * a + (shunt - 2 * c) * sq(v3);
  for (int i = 0; i < 6; ++i) eq[i] /= 1e4;
  ineq[0] = p - q - 0.55;
  ineq[1] = q - p - 0.55;
  ineq[2] = (sq(x[0]) + sq(x[7]) - 2250000) / 1e6;
  ineq[3] = (sq(x[1]) + sq(x[8]) - 2250000) / 1e6;
}

/* The equilibrium of problem 111 in the amounts themselves. */
static EVALUATION(hs112) {
  static const double energy[10] = {-6.089,  -17.164, -34.054, -5.914,  -24.721,
                                    -14.986, -24.100, -10.708, -26.662, -22.179};
  double total = 0;
  for (int i = 0; i < 10; ++i) total += x[i];
  *f = 0;
  for (int i = 0; i < 10; ++i) *f += x[i] * (energy[i] + log(x[i] / total));
  eq[0] = x[0] + 2 * x[1] + 2 * x[2] + x[5] + x[9] - 2;
  eq[1] = x[3] + 2 * x[4] + x[5] + x[6] - 1;
  eq[2] = x[2] + x[6] + x[7] + 2 * x[8] + x[9] - 1;
}

/* Three-stage membrane separation: concentrations x1 .. x6, flows x7 .. x10, areas x11 .. x13. */
static EVALUATION(hs116) {
  const double x1 = x[0], x2 = x[1], x3 = x[2], x4 = x[3], x5 = x[4], x6 = x[5], x7 = x[6];
  const double x8 = x[7], x9 = x[8], x10 = x[9];
  *f = x[10] + x[11] + x[12];
  ineq[0] = x2 - x3;
  ineq[1] = x1 - x2;
  ineq[2] = 0.002 * (x7 - x8) - 1;
  ineq[3] = 50 - *f;
  ineq[4] = *f - 250;
  ineq[5] = 1.262626 * x10 - 1.231059 * x3 * x10 - x[12];
  ineq[6] = 0.03475 * x2 + 0.975 * x2 * x5 - 0.00975 * sq(x2) - x5;
  ineq[7] = 0.03475 * x3 + 0.975 * x3 * x6 - 0.00975 * sq(x3) - x6;
  ineq[8] = x1 * x8 + x4 * x7 - x4 * x8 - x5 * x7;
  ineq[9] = 0.002 * (x2 * x9 + x5 * x8 - x1 * x8 - x6 * x9) + x5 + x6 - 1;
  ineq[10] = x3 * x10 + x6 * x9 - x2 * x9 - x2 * x10 + 500 * (x2 - x6);
  ineq[11] = 0.9 + 0.002 * (x2 * x10 - x3 * x10) - x2;
  ineq[12] = 0.03475 * x1 + 0.975 * x1 * x4 - 0.00975 * sq(x1) - x4;
  ineq[13] = 1.262626 * x8 - 1.231059 * x1 * x8 - x[10];
  ineq[14] = 1.262626 * x9 - 1.231059 * x2 * x9 - x[11];
}

static EVALUATION(hs119) {
  static const int partners[16][6] = {{1, 4, 7, 8, 16},
                                      {2, 3, 7, 10},
                                      {3, 7, 9, 10, 14},
                                      {4, 7, 11, 15},
                                      {5, 6, 10, 12, 16},
                                      {6, 8, 15},
                                      {7, 11, 13},
                                      {8, 10, 15},
                                      {9, 12, 16},
                                      {10, 14},
                                      {11, 13},
                                      {12, 14},
                                      {13, 14},
                                      {14},
                                      {15},
                                      {16}};
  static const double b[8][8] = {{0.22, 0.2, 0.19, 0.25, 0.15, 0.11, 0.12, 0.13},
                                 {-1.46, 0, -1.3, 1.82, -1.15, 0, 0.8, 0},
                                 {1.29, -0.89, 0, 0, -1.16, -0.96, 0, -0.49},
                                 {-1.1, -1.06, 0.95, -0.54, 0, -1.78, -0.41, 0},
                                 {0, 0, 0, -1.43, 1.51, 0.59, -0.33, -0.43},
                                 {0, -1.72, -0.33, 0, 1.62, 1.24, 0.21, -0.26},
                                 {1.12, 0, 0, 0.31, 0, 0, 1.12, 0},
                                 {0, 0.45, 0.26, -1.1, 0.58, 0, -1.03, 0.1}};
  static const double c[8] = {2.5, 1.1, -3.1, -3.5, 1.3, 2.1, 2.3, -1.5};
  double term[16];
  for (int i = 0; i < 16; ++i) term[i] = sq(x[i]) + x[i] + 1;
  *f = 0;
  for (int i = 0; i < 16; ++i)
    for (int k = 0; k < 6 && partners[i][k] > 0; ++k) *f += term[i] * term[partners[i][k] - 1];
  for (int k = 0; k < 8; ++k) {
    eq[k] = x[8 + k] - c[k];
    for (int j = 0; j < 8; ++j) eq[k] += b[k][j] * x[j];
  }
  eq[6] -= 0.36 * x[8];
}

#define BOOK "Hock & Schittkowski 1981, problem "

/* clang-format off */
static const Problem table[] = {
    {.name = "HS1", .source = BOOK "1; box added",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = hs1,
     .start = VALUES(-2, 1), .lower = VALUES(-10, -1.5), .upper = allTen,
     .best = allOne, .fBest = 0},
    {.name = "HS2", .source = BOOK "2; start moved into the box",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = hs1,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(-2, 1.5), .lower = VALUES(-10, 1.5), .upper = allTen,
     .best = VALUES(1.2243707487363524, 1.5), .fBest = 0.05042618789360708},
    {.name = "HS3", .source = BOOK "3; box added",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = hs3,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(10, 1), .lower = VALUES(-20, 0), .upper = VALUES(20, 20),
     .best = allZero, .fBest = 0},
    {.name = "HS4", .source = BOOK "4; box added",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = hs4,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(1.125, 0.125), .lower = VALUES(1, 0), .upper = allTen,
     .best = VALUES(1, 0), .fBest = 2.6666666666666665},
    {.name = "HS8", .source = BOOK "8; box added",
     .n = 2, .nEq = 2, .nIneq = 0, .evaluate = hs8,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(2, 1), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(4.601594917683296, 1.955843606618705), .fBest = -1},
    {.name = "HS9", .source = BOOK "9; box added",
     .n = 2, .nEq = 1, .nIneq = 0, .evaluate = hs9,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(-3, -4), .fBest = -0.5},
    {.name = "HS11", .source = BOOK "11; box added",
     .n = 2, .nEq = 0, .nIneq = 1, .evaluate = hs11,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(4.9, 0.1), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(1.234772825053297, 1.5246639294900999), .fBest = -8.498464223154677},
    {.name = "HS16", .source = BOOK "16; start moved into the box",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = hs16,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(-0.5, 1), .lower = VALUES(-0.5, -10), .upper = VALUES(0.5, 1),
     .best = VALUES(0.5, 0.25), .fBest = 0.25},
    {.name = "HS17", .source = BOOK "17; start moved into the box",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = hs17,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(-0.5, 1), .lower = VALUES(-0.5, -10), .upper = VALUES(0.5, 1),
     .best = allZero, .fBest = 1},
    {.name = "HS20", .source = BOOK "20; start moved into the box",
     .n = 2, .nEq = 0, .nIneq = 3, .evaluate = hs20,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(-0.5, 1), .lower = VALUES(-0.5, -10), .upper = VALUES(0.5, 10),
     .best = VALUES(0.5, 0.8660254037844386), .fBest = 38.19872981077806},
    {.name = "HS21", .source = BOOK "21; start moved into the box",
     .n = 2, .nEq = 0, .nIneq = 1, .evaluate = hs21,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(2, -1), .lower = VALUES(2, -50), .upper = VALUES(50, 50),
     .best = VALUES(2, 0), .fBest = -99.96},
    {.name = "HS25", .source = BOOK "25",
     .n = 3, .nEq = 0, .nIneq = 0, .evaluate = hs25,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(100, 12.5, 3), .lower = VALUES(0.1, 0, 0), .upper = VALUES(100, 25.6, 5),
     .best = VALUES(50, 25, 1.5), .fBest = 8.50123454223538e-31},
    {.name = "HS30", .source = BOOK "30",
     .n = 3, .nEq = 0, .nIneq = 1, .evaluate = hs30,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = allOne, .lower = VALUES(1, -10, -10), .upper = allTen,
     .best = VALUES(1, 0, 0), .fBest = 1},
    {.name = "HS33", .source = BOOK "33; box added",
     .n = 3, .nEq = 0, .nIneq = 2, .evaluate = hs33,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0, 0, 3), .lower = allZero, .upper = VALUES(10, 10, 5),
     .best = VALUES(0, 1.4142135623730951, 1.4142135623730951), .fBest = -4.585786437626905},
    {.name = "HS36", .source = BOOK "36",
     .n = 3, .nEq = 0, .nIneq = 1, .evaluate = hs36,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = allTen, .lower = allZero, .upper = VALUES(20, 11, 42),
     .best = VALUES(20, 11, 15), .fBest = -3300},
    {.name = "HS41", .source = BOOK "41",
     .n = 4, .nEq = 1, .nIneq = 0, .evaluate = hs41,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.5, 0.5, 0.5, 2), .lower = allZero, .upper = VALUES(1, 1, 1, 2),
     .best = VALUES(0.6666666666666666, 0.3333333333333333, 0.3333333333333333, 2), .fBest =
         1.925925925925926},
    {.name = "HS44", .source = BOOK "44; box added",
     .n = 4, .nEq = 0, .nIneq = 6, .evaluate = hs44,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = allZero, .upper = allTen,
     .best = VALUES(0, 3, 0, 4), .fBest = -15},
    {.name = "HS45", .source = BOOK "45; start moved into the box",
     .n = 5, .nEq = 0, .nIneq = 0, .evaluate = hs45,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.5, 1, 1.5, 2, 2.5), .lower = allZero, .upper = VALUES(1, 2, 3, 4, 5),
     .best = VALUES(1, 2, 3, 4, 5), .fBest = 1},
    {.name = "HS46", .source = BOOK "46; box added",
     .n = 5, .nEq = 2, .nIneq = 0, .evaluate = hs46,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.7071067811865476, 1.75, 0.5, 2, 2), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 0},
    {.name = "HS47", .source = BOOK "47; box added",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs47,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(2, 1.4142135623730951, -1, 0.5857864376269049, 0.5), .lower =
         VALUES(FIVE(-2.5)), .upper = VALUES(FIVE(2.5)),
     .best = VALUES(0.6770043948666402, 0.7260894726520319, 1.2154912142370975, 1.7513294192355415,
         1.4770952856177324), .fBest = -0.026714182693940963},
    {.name = "HS49", .source = BOOK "49; box added",
     .n = 5, .nEq = 2, .nIneq = 0, .evaluate = hs49,
     .start = VALUES(10, 7, 2, -3, 0.8), .lower = VALUES(FIVE(-20)), .upper = VALUES(FIVE(20)),
     .best = allOne, .fBest = 0},
    {.name = "HS50", .source = BOOK "50; box added",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs50,
     .start = VALUES(35, -31, 11, 5, -5), .lower = VALUES(FIVE(-50)), .upper = VALUES(FIVE(50)),
     .best = allOne, .fBest = 0},
    {.name = "HS51", .source = BOOK "51; box added",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs51,
     .start = VALUES(2.5, 0.5, 2, -1, 0.5), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 0},
    {.name = "HS52", .source = BOOK "52; box added",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs52,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(FIVE(2)), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(-0.09455587392550144, 0.03151862464183381, 0.5157593123209169,
         -0.45272206303724927, 0.03151862464183381), .fBest = 5.326647564469914},
    {.name = "HS56", .source = BOOK "56; box added",
     .n = 7, .nEq = 4, .nIneq = 0, .evaluate = hs56,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(1, 1, 1, 0.509739678831507, 0.509739678831507, 0.509739678831507,
         0.9851107833377457), .lower = VALUES(0, 0, 0, -2, -2, -2, -2), .upper = VALUES(5, 5, 5, 2,
         2, 2, 2),
     .best = VALUES(2.4, 1.2, 1.2, 0.857071947850131, 0.5639426413606289, 0.5639426413606289,
         1.5707963267948966), .fBest = -3.4559999999999995},
    {.name = "HS57", .source = BOOK "57; box added",
     .n = 2, .nEq = 0, .nIneq = 1, .evaluate = hs57,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.42, 5), .lower = VALUES(0.4, -4), .upper = VALUES(2, 20),
     .best = VALUES(0.41995265075780125, 1.2848451936248448), .fBest = 0.028459669722986695},
    {.name = "HS59", .source = BOOK "59; start moved into the box",
     .n = 2, .nEq = 0, .nIneq = 3, .evaluate = hs59,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(75, 10), .lower = allZero, .upper = VALUES(75, 65),
     .best = VALUES(13.550142323759117, 51.65997398954288), .fBest = -7.802789471538403},
    {.name = "HS62", .source = BOOK "62",
     .n = 3, .nEq = 1, .nIneq = 0, .evaluate = hs62,
     .start = VALUES(0.7, 0.2, 0.1), .lower = allZero, .upper = allOne,
     .best = VALUES(0.6178126908126925, 0.32820222311966907, 0.05398508606763846), .fBest =
         -26272.514487318258},
    {.name = "HS64", .source = BOOK "64; box narrowed",
     .n = 3, .nEq = 0, .nIneq = 1, .evaluate = hs64,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = allOne, .lower = allOne, .upper = VALUES(1000, 1000, 1000),
     .best = VALUES(108.73470491089891, 85.1262127908938, 204.32459661260555), .fBest =
         6299.8424279215205},
    {.name = "HS68", .source = BOOK "68; box narrowed",
     .n = 4, .nEq = 2, .nIneq = 0, .evaluate = hs68,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = allOne, .lower = VALUES(0.01, 0, 0, 0), .upper = VALUES(10, 10, 2, 2),
     .best = VALUES(0.06785857708551259, 3.646210855688179, 0.0002661356252154154,
         0.8948550393735527), .fBest = -0.9204250036397502},
    {.name = "HS69", .source = BOOK "69; box narrowed",
     .n = 4, .nEq = 2, .nIneq = 0, .evaluate = hs69,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = allOne, .lower = VALUES(0.01, 0, 0, 0), .upper = VALUES(10, 10, 2, 2),
     .best = VALUES(0.029371417421705643, 1.1902534504069087, 0.2339467906674198,
         0.7916678112438046), .fBest = -956.7128866500283},
    {.name = "HS75", .source = BOOK "75",
     .n = 4, .nEq = 3, .nIneq = 2, .evaluate = hs75,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = VALUES(0, 0, -0.48, -0.48), .upper = VALUES(1200, 1200, 0.48, 0.48),
     .best = VALUES(776.1590265860594, 925.1951384690918, 0.05110892853835126,
         -0.42889107146164873), .fBest = 5174.41269537774},
    {.name = "HS81", .source = BOOK "81",
     .n = 5, .nEq = 3, .nIneq = 0, .evaluate = hs81,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(-2, 2, 2, -1, -1), .lower = VALUES(-2.3, -2.3, -3.2, -3.2, -3.2), .upper =
         VALUES(2.3, 2.3, 3.2, 3.2, 3.2),
     .best = VALUES(-1.7171435703943823, 1.5957096901835544, 1.8272457529271946,
         -0.7636430781841304, -0.7636430781841304), .fBest = 0.05394984777027203},
    {.name = "HS84", .source = BOOK "84; constraints divided by 1e5, objective by 1e4",
     .n = 5, .nEq = 0, .nIneq = 6, .evaluate = hs84,
     .flags = PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(2.52, 2, 37.5, 9.25, 6.8), .lower = VALUES(0, 1.2, 20, 9, 6.5), .upper =
         VALUES(1000, 2.4, 60, 9.3, 7),
     .best = VALUES(4.5374309746554005, 2.4, 60, 9.3, 7), .fBest = -528.0335133214758},
    {.name = "HS95", .source = BOOK "95",
     .n = 6, .nEq = 0, .nIneq = 4, .evaluate = hs95,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = allZero, .upper = VALUES(0.31, 0.046, 0.068, 0.042, 0.028, 0.0134),
     .best = VALUES(FIVE(0), 0.0033233032430625207), .fBest = 0.015619525242393848},
    {.name = "HS97", .source = BOOK "97",
     .n = 6, .nEq = 0, .nIneq = 4, .evaluate = hs97,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = allZero, .upper = VALUES(0.31, 0.046, 0.068, 0.042, 0.028, 0.0134),
     .best = VALUES(0.2685649122807017, 0, 0, 0, 0.028, 0.0134), .fBest = 3.135809122807017},
    {.name = "HS99", .source = BOOK "99; lengths in 1e4, speeds in 1e2, objective in 1e8",
     .n = 7, .nEq = 2, .nIneq = 0, .evaluate = hs99,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(FIVE(0.5), 0.5, 0.5), .lower = allZero, .upper = VALUES(FIVE(1.58), 1.58,
         1.58),
     .best = VALUES(0.542467816212317, 0.5290214242019767, 0.5084491553164001, 0.4802688509618159,
         0.45123634979664673, 0.40918308242098533, 0.3527878917811228), .fBest =
         -8.310798915101076},
    {.name = "HS101", .source = BOOK "101; limits of the objective divided by 1000",
     .n = 7, .nEq = 0, .nIneq = 6, .evaluate = hs101,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(FIVE(6), 6, 6), .lower = VALUES(FIVE(0.1), 0.1, 0.01), .upper = allTen,
     .best = VALUES(2.8561585557551465, 0.6108230308034505, 2.150812562164474, 4.71287370924123,
         0.9994875408574642, 1.3475075048283307, 0.03165276650277431), .fBest = 1809.7647655714138},
    {.name = "HS102", .source = BOOK "102; limits of the objective divided by 1000",
     .n = 7, .nEq = 0, .nIneq = 6, .evaluate = hs102,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(FIVE(6), 6, 6), .lower = VALUES(FIVE(0.1), 0.1, 0.01), .upper = allTen,
     .best = VALUES(3.89625319107028, 0.8093587601054144, 2.6643859937754892, 4.300912874794021,
         0.853554935248584, 1.0952874445761032, 0.027310459657719263), .fBest = 911.8805714301085},
    {.name = "HS103", .source = BOOK "103; limits of the objective divided by 1000",
     .n = 7, .nEq = 0, .nIneq = 6, .evaluate = hs103,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(FIVE(6), 6, 6), .lower = VALUES(FIVE(0.1), 0.1, 0.01), .upper = allTen,
     .best = VALUES(4.394104510526406, 0.8544687387974248, 2.8432303139508948, 3.399978667686559,
         0.7229261330073025, 0.8704063818044573, 0.02463882632722851), .fBest = 543.6679584662807},
    {.name = "HS107", .source = BOOK "107; box added",
     .n = 9, .nEq = 6, .nIneq = 0, .evaluate = hs107,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.8, 0.8, 0.2, 0.2, 1.0454, 1.0454, 1.0454, 0, 0), .lower = VALUES(0, 0, -2,
         -2, 0.90909, 0.90909, 0.90909, -1, -1), .upper = VALUES(2, 2, 2, 2, 1.0909, 1.0909, 1.0909,
         1, 1),
     .best = VALUES(0.667012762315328, 1.0223847170508324, 0.22828714466751998, 0.1848217561297506,
         1.0909, 1.0909, 1.069036003142822, 0.10661062240656405, -0.3387876190699066), .fBest =
         5055.011803543817},
    {.name = "HS109",
     .source = BOOK "109; first two inequalities divided by 1e6, equalities by 1e4; box "
               "narrowed",
     .n = 9, .nEq = 6, .nIneq = 4, .evaluate = hs109,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0, 0, 0, 0, 196, 196, 196, 0, 0), .lower = VALUES(0, 0, -0.55, -0.55, 196, 196,
         196, -400, -400), .upper = VALUES(1500, 1500, 0.55, 0.55, 252, 252, 252, 800, 800),
     .best = VALUES(669.1097610257111, 1131.663146223707, 0.13295921259854365, -0.3604243084232723,
         252, 252, 209.2124685808997, 386.4424559553807, 327.9904896071655), .fBest =
         5326.851330086209},
    {.name = "HS112", .source = BOOK "112; box chosen",
     .n = 10, .nEq = 3, .nIneq = 0, .evaluate = hs112,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(TEN(0.1)), .lower = VALUES(TEN(0.0003)), .upper = VALUES(TEN(2)),
     .best = VALUES(0.04066808735569015, 0.14773035434082224, 0.7831533540092337,
         0.001414219809030121, 0.48524664869927275, 0.0006931720784210654, 0.027399310714003304,
         0.017947279584925424, 0.03731436591303034, 0.09687132386577686), .fBest =
         -47.761090859365865},
    {.name = "HS116",
     .source = BOOK "116; the second start value of a bounded amount kept in the box",
     .n = 13, .nEq = 0, .nIneq = 15, .evaluate = hs116,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.5, 0.8, 0.9, 0.1, 0.14, 0.5, 489, 80, 650, 450, 150, 150, 150), .lower =
         VALUES(0.1, 0.1, 0.1, 0.0001, 0.1, 0.1, 0.1, 0.1, 500, 0.1, 1, 0.0001, 0.0001), .upper =
         VALUES(1, 1, 1, 0.1, 0.9, 0.9, 1000, 1000, 1000, 500, 150, 150, 150),
     .best = VALUES(0.8037731573766544, 0.8999858006730379, 0.970982435483808, 0.1,
         0.19081317621550714, 0.46065478285225064, 574.0775735827624, 74.07757358276244,
         500.0161601689685, 0.1, 20.23309069736759, 77.34768992730737, 0.00672893339557389), .fBest
         = 97.58750955807054},
    {.name = "HS119", .source = BOOK "119; start moved into the box",
     .n = 16, .nEq = 8, .nIneq = 0, .evaluate = hs119,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(TEN(5), FIVE(5), 5), .lower = allZero, .upper = VALUES(TEN(5), FIVE(5), 5),
     .best = VALUES(0.03984735141112244, 0.7919831556883808, 0.20287033025103612, 0.844357916365675,
         1.2699064528665027, 0.934738707824643, 1.681961969246919, 0.15530087738956874,
         1.567870333551801, 0, 0, 0, 0.6602040660869546, 0, 0.6742559268682823, 0), .fBest =
         244.89969751680084},
};
/* clang-format on */

const ProblemFamily hockSchittkowskiMoreFamily = FAMILY(table);

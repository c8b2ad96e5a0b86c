/* Elementary functions from + - * / alone, so that they have the same bits with every compiler and
 * every C library: what the collection's problems call when their results are compared between
 * machines. Good to some units in the last place for the arguments of the collection. With
 * PORTABLE_MATH, included before a source, they stand for the functions of math.h. */
#ifndef TARNIX_PORTABLE_MATH_H
#define TARNIX_PORTABLE_MATH_H

#include <math.h>
#include <stdint.h>
#include <string.h>

/* 2 to an integer power from -1022 to 1023. */
static inline double portablePower2(int power) {
  const uint64_t bits = (uint64_t)(power + 1023) << 52;
  double value;
  memcpy(&value, &bits, sizeof value);
  return value;
}

/* The series of exp at r, |r| <= ln(2)/2, after the multiples of ln 2, which is kept in two parts.
 */
static inline double portableExp(double x) {
  if (x > 1400) return HUGE_VAL;
  if (x > 709.7) return portableExp(x / 2) * portableExp(x / 2);
  if (isnan(x)) return x;
  if (x < -745.2) return 0;
  const double k = floor(x * 1.4426950408889634 + 0.5);
  const double r = (x - k * 6.93147180369123816490e-01) - k * 1.90821492927058770002e-10;
  double sum = 1;
  for (int i = 14; i > 0; --i) sum = 1 + sum * r / i;
  const int half = (int)k / 2;
  return sum * portablePower2(half) * portablePower2((int)k - half);
}

/* x = 2^k (1 + s)/(1 - s) with 1/sqrt(2) <= x/2^k < sqrt(2): log x = k log 2 + 2 artanh s. */
static inline double portableLog(double x) {
  if (!(x > 0)) return x == 0 ? -HUGE_VAL : NAN;
  if (!(x < HUGE_VAL)) return x;
  int k = 0;
  for (; x < 0x1p-1021; x *= 2) --k;
  uint64_t bits;
  memcpy(&bits, &x, sizeof bits);
  k += (int)(bits >> 52) - 1023;
  double m = x / portablePower2((int)(bits >> 52) - 1023);
  if (m > 1.4142135623730951) m /= 2, ++k;
  const double s = (m - 1) / (m + 1);
  double sum = 0;
  for (int i = 23; i > 1; i -= 2) sum = (sum + 1.0 / i) * s * s;
  return k * 6.93147180369123816490e-01 + (2 * s * sum + (k * 1.90821492927058770002e-10 + 2 * s));
}

static inline double portablePow(double x, double y) {
  return y == 0 ? 1 : portableExp(y * portableLog(x));
}
static inline double portableLog10(double x) {
  return portableLog(x) / 2.302585092994046;
}
static inline double portableCbrt(double x) {
  if (x == 0 || isnan(x)) return x;
  const double root = portableExp(portableLog(fabs(x)) / 3);
  return x < 0 ? -root : root;
}

/* Sine of x + quarters pi/2, from the series at the rest after multiples of pi/2, which is kept in
 * three parts. */
static inline double portableSine(double x, int quarters) {
  if (!(fabs(x) < 1e6)) return NAN;
  const double k = floor(x * 0.6366197723675814 + 0.5);
  const double r = ((x - k * 1.57079632673412561417e+00) - k * 6.07710050630396597660e-11) -
                   k * 2.02226624879595063154e-21;
  const int turn = (int)(k - 4 * floor(k / 4)) + quarters;
  double sum = 1;
  for (int i = turn % 2 ? 18 : 19; i > 1; i -= 2) sum = 1 - sum * r * r / (i * (i - 1));
  if (turn % 2 == 0) sum *= r;
  return turn % 4 < 2 ? sum : -sum;
}
static inline double portableSin(double x) {
  return portableSine(x, 0);
}
static inline double portableCos(double x) {
  return portableSine(x, 1);
}
static inline double portableTan(double x) {
  return portableSin(x) / portableCos(x);
}

/* Below 1 by the series of exp(x^2) erf x, beyond by the continued fraction of exp(x^2) erfc x. */
static inline double portableErfc(double x) {
  if (x < 0) return 2 - portableErfc(-x);
  const double rootPi = 1.7724538509055160, factor = portableExp(-x * x);
  double sum = 1;
  if (x < 1) {
    for (int i = 30; i > 0; --i) sum = 1 + sum * 2 * x * x / (2 * i + 1);
    return 1 - factor * 2 * x * sum / rootPi;
  }
  for (int i = 400; i > 0; --i) sum = 1 + i / (2 * x * x) / sum;
  return factor / (x * rootPi * sum);
}

#ifdef PORTABLE_MATH
#define exp portableExp
#define log portableLog
#define pow portablePow
#define log10 portableLog10
#define cbrt portableCbrt
#define erfc portableErfc
#define sin portableSin
#define cos portableCos
#define tan portableTan
#endif

#endif

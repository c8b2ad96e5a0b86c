/* From K. Schittkowski, More Test Examples for Nonlinear Programming Codes (1987). Constraints that
 * the book writes as g >= 0 stand here as -g <= 0. */
#include <math.h>

#include "family.h"

static EVALUATION(s216) {
  *f = 100 * sq(sq(x[0]) - x[1]) + sq(x[0] - 1);
  eq[0] = x[0] * (x[0] - 4) - 2 * x[1] + 12;
}

static EVALUATION(s217) {
  *f = -x[1];
  eq[0] = sq(x[0]) + sq(x[1]) - 1;
  ineq[0] = 2 * x[1] - x[0] - 1;
}

static EVALUATION(s224) {
  *f = 2 * sq(x[0]) + sq(x[1]) - 48 * x[0] - 40 * x[1];
  ineq[0] = -x[0] - 3 * x[1];
  ineq[1] = x[0] + 3 * x[1] - 18;
  ineq[2] = -x[0] - x[1];
  ineq[3] = x[0] + x[1] - 8;
}

static EVALUATION(s226) {
  *f = -x[0] * x[1];
  ineq[0] = -sq(x[0]) - sq(x[1]);
  ineq[1] = sq(x[0]) + sq(x[1]) - 1;
}

static EVALUATION(s227) {
  *f = sq(x[0] - 2) + sq(x[1] - 1);
  ineq[0] = sq(x[0]) - x[1];
  ineq[1] = sq(x[1]) - x[0];
}

static EVALUATION(s228) {
  *f = sq(x[0]) + x[1];
  ineq[0] = x[0] + x[1] - 1;
  ineq[1] = sq(x[0]) + sq(x[1]) - 9;
}

static EVALUATION(s230) {
  *f = x[1];
  ineq[0] = 2 * sq(x[0]) - cube(x[0]) - x[1];
  ineq[1] = 2 * sq(1 - x[0]) - cube(1 - x[0]) - x[1];
}

static EVALUATION(s234) {
  *f = sq(sq(x[1] - x[0])) + x[0] - 1;
  ineq[0] = sq(x[0]) + sq(x[1]) - 1;
}

static EVALUATION(s248) {
  *f = -x[1];
  eq[0] = sq(x[0]) + sq(x[1]) + sq(x[2]) - 1;
  ineq[0] = 2 * x[1] - x[0] - 1;
}

static EVALUATION(s254) {
  *f = log10(x[2]) - x[1];
  eq[0] = sq(x[1]) + sq(x[2]) - 4;
  eq[1] = x[2] - 1 - sq(x[0]);
}

static EVALUATION(s263) {
  *f = -x[0];
  eq[0] = x[1] - cube(x[0]) - sq(x[2]);
  eq[1] = sq(x[0]) - x[1] - sq(x[3]);
  ineq[0] = cube(x[0]) - x[1];
  ineq[1] = x[1] - sq(x[0]);
}

static EVALUATION(zakharov20) {
  double squares = 0, sum = 0;
  for (int i = 0; i < 20; ++i) {
    squares += sq(x[i]);
    sum += 0.5 * (i + 1) * x[i];
  }
  *f = squares + sq(sum) + sq(sq(sum));
}

/* Problems 316 to 322: nearest point of an ellipse with the half-axes 10 and sqrt(square). */
static void ellipse(const double* x, double* f, double* eq, double square) {
  *f = sq(x[0] - 20) + sq(x[1] + 20);
  eq[0] = sq(x[0]) / 100 + sq(x[1]) / square - 1;
}
static EVALUATION(s317) {
  ellipse(x, f, eq, 64);
}
static EVALUATION(s321) {
  ellipse(x, f, eq, 1);
}

static EVALUATION(s323) {
  *f = sq(x[0] - 2) + sq(x[1]);
  ineq[0] = x[1] - x[0] - 2;
  ineq[1] = sq(x[0]) - x[1] + 1;
}

static EVALUATION(s325) {
  *f = sq(x[0]) + x[1];
  eq[0] = sq(x[0]) + sq(x[1]) - 9;
  ineq[0] = x[0] + x[1] - 1;
  ineq[1] = x[0] + sq(x[1]) - 1;
}

static EVALUATION(s326) {
  *f = sq(x[0]) + sq(x[1]) - 16 * x[0] - 10 * x[1];
  ineq[0] = sq(x[0]) - 6 * x[0] + 4 * x[1] - 11;
  ineq[1] = 3 * x[1] - x[0] * x[1] + exp(x[0] - 3) - 1;
}

static EVALUATION(s328) {
  const double a = sq(x[0]), b = sq(x[1]);
  *f = (12 + a + (1 + b) / a + (a * b + 100) / sq(a * b)) / 10;
}

static EVALUATION(s336) {
  *f = 7 * x[0] - 6 * x[1] + 4 * x[2];
  eq[0] = sq(x[0]) + 2 * sq(x[1]) + 3 * sq(x[2]) - 1;
  eq[1] = 5 * x[0] + 5 * x[1] - 3 * x[2] - 6;
}

static EVALUATION(s338) {
  *f = -sq(x[0]) - sq(x[1]) - sq(x[2]);
  eq[0] = 0.5 * x[0] + x[1] + x[2] - 1;
  eq[1] = sq(x[0]) + 2 * sq(x[1]) / 3 + sq(x[2]) / 4 - 4;
}

static EVALUATION(s339) {
  *f = 0.2 / (x[0] * x[1] * x[2]) + 4 / x[0] + 3 / x[2];
  ineq[0] = x[0] * (2 * x[2] + x[1]) - 10;
}

static EVALUATION(s343) {
  *f = -0.0201e-7 * sq(sq(x[0])) * x[1] * sq(x[2]);
  ineq[0] = sq(x[0]) * x[1] / 675 - 1;
  ineq[1] = 1e-7 * sq(x[0] * x[2]) / 0.419 - 1;
}

static EVALUATION(s354) {
  *f = sq(x[0] + 10 * x[1]) + 5 * sq(x[2] - x[3]) + sq(sq(x[1] - 2 * x[2])) +
       10 * sq(sq(x[0] - x[3]));
  ineq[0] = 1 - x[0] - x[1] - x[2] - x[3];
}

#define BOOK "Schittkowski 1987, problem "

/* clang-format off */
static const Problem table[] = {
    {.name = "S216", .source = BOOK "216; box added",
     .n = 2, .nEq = 1, .nIneq = 0, .evaluate = s216,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(-1.2, 1), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(1.999375244110081, 4.000000195159961), .fBest = 0.9993752928772063},
    {.name = "S217", .source = BOOK "217; box added",
     .n = 2, .nEq = 1, .nIneq = 1, .evaluate = s217,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = allTen, .lower = VALUES(0, -10), .upper = allTen,
     .best = VALUES(0.6, 0.8), .fBest = -0.8},
    {.name = "S224", .source = BOOK "224",
     .n = 2, .nEq = 0, .nIneq = 4, .evaluate = s224,
     .start = VALUES(0.1, 0.1), .lower = allZero, .upper = VALUES(6, 6),
     .best = VALUES(4, 4), .fBest = -304},
    {.name = "S226", .source = BOOK "226; box added",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = s226,
     .start = VALUES(0.8, 0.05), .lower = allZero, .upper = allTen,
     .best = VALUES(0.7071067811865476, 0.7071067811865476), .fBest = -0.5000000000000001},
    {.name = "S227", .source = BOOK "227; box added",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = s227,
     .start = VALUES(0.5, 0.5), .lower = allMinusTen, .upper = allTen,
     .best = allOne, .fBest = 1},
    {.name = "S228", .source = BOOK "228; box added",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = s228,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0, -3), .fBest = -3},
    {.name = "S230", .source = BOOK "230; box added",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = s230,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.5, 0.375), .fBest = 0.375},
    {.name = "S234", .source = BOOK "234; start moved into the box",
     .n = 2, .nEq = 0, .nIneq = 1, .evaluate = s234,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = allOne, .lower = VALUES(0.2, 0.2), .upper = VALUES(2, 2),
     .best = VALUES(0.2, 0.2), .fBest = -0.8},
    {.name = "S248", .source = BOOK "248; box added",
     .n = 3, .nEq = 1, .nIneq = 1, .evaluate = s248,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(-0.1, -1, 0.1), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.6, 0.8, 0), .fBest = -0.8},
    {.name = "S254", .source = BOOK "254; box added",
     .n = 3, .nEq = 2, .nIneq = 0, .evaluate = s254,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = allOne, .lower = VALUES(-10, -10, 1), .upper = allTen,
     .best = VALUES(0, 1.7320508075688772, 1), .fBest = -1.7320508075688772},
    {.name = "S263", .source = BOOK "263; box added",
     .n = 4, .nEq = 2, .nIneq = 2, .evaluate = s263,
     .flags = PROBLEM_INFEASIBLE_START,
     .start = VALUES(0.1, 0.1, 0.1, 0.1), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(1, 1, 0, 0), .fBest = -1},
    {.name = "S303", .source = BOOK "303; start and box smaller",
     .n = 20, .nEq = 0, .nIneq = 0, .evaluate = zakharov20,
     .flags = PROBLEM_SCALABLE,
     .start = VALUES(TEN(0.1), TEN(0.1)), .lower = VALUES(TEN(-5), TEN(-5)), .upper = VALUES(TEN(5),
         TEN(5)),
     .best = allZero, .fBest = 0},
    {.name = "S317", .source = BOOK "317; box added",
     .n = 2, .nEq = 1, .nIneq = 0, .evaluate = s317,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = VALUES(-30, -30), .upper = VALUES(30, 30),
     .best = VALUES(7.351926242477153, -5.422865989134573), .fBest = 372.4666057464677},
    {.name = "S321", .source = BOOK "321; box added",
     .n = 2, .nEq = 1, .nIneq = 0, .evaluate = s321,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = VALUES(-30, -30), .upper = VALUES(30, 30),
     .best = VALUES(9.816029251396486, -0.19093375122614004), .fBest = 496.11236585672367},
    {.name = "S323", .source = BOOK "323; box added",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = s323,
     .start = VALUES(0, 1), .lower = allZero, .upper = allTen,
     .best = VALUES(0.5535737822176664, 1.3064439323587724), .fBest = 3.7989445518851594},
    {.name = "S325", .source = BOOK "325; box added",
     .n = 2, .nEq = 1, .nIneq = 2, .evaluate = s325,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(-3, 0), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(-2.3722813232690143, -1.8363772279324895), .fBest = 3.791341448798496},
    {.name = "S326", .source = BOOK "326",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = s326,
     .flags = PROBLEM_OTHER_MINIMA,
     .start = VALUES(4, 3), .lower = allZero, .upper = allTen,
     .best = VALUES(5.239609115503007, 3.7460377524389603), .fBest = -79.80782084647757},
    {.name = "S328", .source = BOOK "328; start moved into the box",
     .n = 2, .nEq = 0, .nIneq = 0, .evaluate = s328,
     .start = allOne, .lower = allOne, .upper = VALUES(3, 3),
     .best = VALUES(1.7434520869414165, 2.0296947100006877), .fBest = 1.7441520055877389},
    {.name = "S336", .source = BOOK "336; box added",
     .n = 3, .nEq = 2, .nIneq = 0, .evaluate = s336,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.5345944366074571, 0.5339705085400279, -0.21905842475419166), .fBest =
         -0.3378956940047345},
    {.name = "S338", .source = BOOK "338; box added",
     .n = 3, .nEq = 2, .nIneq = 0, .evaluate = s338,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(-0.3665301177595682, -1.6620759498698183, 2.8453410087496023), .fBest =
         -10.992806246432705},
    {.name = "S339", .source = BOOK "339; box narrowed",
     .n = 3, .nEq = 0, .nIneq = 1, .evaluate = s339,
     .start = allOne, .lower = VALUES(0.1, 0.1, 0.1), .upper = allTen,
     .best = VALUES(2.379762719685501, 0.31622776601683794, 1.9429359227725447), .fBest =
         3.361679689249542},
    {.name = "S343", .source = BOOK "343; limits divided by their sizes",
     .n = 3, .nEq = 0, .nIneq = 2, .evaluate = s343,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(22.3, 0.5, 125), .lower = allZero, .upper = VALUES(36, 5, 125),
     .best = VALUES(22.543364932519914, 1.3282086060933131, 90.80050627637436), .fBest =
         -5.684782500000001},
    {.name = "S354", .source = BOOK "354; box narrowed",
     .n = 4, .nEq = 0, .nIneq = 1, .evaluate = s354,
     .start = VALUES(3, -1, 0, 1), .lower = VALUES(-20, -20, -20, -20), .upper = VALUES(20, 20, 20,
         20),
     .best = VALUES(0.5033179336659586, -0.045561167335655704, 0.23581898420589148,
         0.3064242494638057), .fBest = 0.11378384899144842},
};
/* clang-format on */

const ProblemFamily schittkowskiFamily = FAMILY(table);

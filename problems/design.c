/* Engineering design problems. Constraints are divided by their limits where the literature does
 * so, or where the raw values would dwarf the other functions. */
#include <math.h>
#include <stddef.h>

#include "family.h"

static const double pi = 3.14159265358979323846;

/* ---- beams, springs, vessels ---- */

/* Bar of width t and thickness b welded to a wall by two fillets of height h and length l; a load
 * of 6000 lb hangs 14 in off the wall (lb, in, psi). */
typedef struct WeldedBeam {
  double cost, shear, bending, deflection;
} WeldedBeam;

static const double weldLoad = 6000, weldReach = 14;

/* throat: what a fillet's height is multiplied by in the polar moment of the weld. */
static WeldedBeam analyseWeldedBeam(const double* x, double throat) {
  const double h = x[0], l = x[1], t = x[2], b = x[3];
  const double radius = sqrt(sq(l) / 4 + sq((h + t) / 2));
  const double polarMoment = 2 * (throat * h * l * (sq(l) / 12 + sq((h + t) / 2)));
  const double direct = weldLoad / (sqrt(2) * h * l);
  const double torsion = weldLoad * (weldReach + l / 2) * radius / polarMoment;
  const WeldedBeam beam = {
      .cost = 1.10471 * sq(h) * l + 0.04811 * t * b * (weldReach + l),
      .shear = sqrt(sq(direct) + 2 * direct * torsion * l / (2 * radius) + sq(torsion)),
      .bending = 6 * weldLoad * weldReach / (b * sq(t)),
      .deflection = 4 * weldLoad * cube(weldReach) / (30e6 * cube(t) * b)};
  return beam;
}

static EVALUATION(weldedBeam) {
  const double h = x[0], l = x[1], t = x[2], b = x[3];
  const double young = 30e6, shearModulus = 12e6;
  const WeldedBeam beam = analyseWeldedBeam(x, sqrt(2));
  const double buckling = 4.013 * young * sqrt(sq(t) * sq(cube(b)) / 36) / sq(weldReach) *
                          (1 - t / (2 * weldReach) * sqrt(young / (4 * shearModulus)));
  *f = beam.cost;
  ineq[0] = beam.shear / 13600 - 1;
  ineq[1] = beam.bending / 30000 - 1;
  ineq[2] = h - b;
  ineq[3] = (0.10471 * sq(h) + 0.04811 * t * b * (weldReach + l)) / 5 - 1;
  ineq[4] = 0.125 - h;
  ineq[5] = beam.deflection / 0.25 - 1;
  ineq[6] = 1 - buckling / weldLoad;
}

static EVALUATION(weldedBeam1976) {
  const double t = x[2], b = x[3];
  const WeldedBeam beam = analyseWeldedBeam(x, 0.707);
  const double buckling = 64746.022 * (1 - 0.0282346 * t) * t * cube(b);
  *f = beam.cost;
  ineq[0] = beam.shear / 13600 - 1;
  ineq[1] = beam.bending / 30000 - 1;
  ineq[2] = x[0] - b;
  ineq[3] = 1 - buckling / weldLoad;
  ineq[4] = beam.deflection / 0.25 - 1;
}

static EVALUATION(pressureVessel) {
  const double shell = x[0], head = x[1], r = x[2], l = x[3];
  *f = 0.6224 * shell * r * l + 1.7781 * head * sq(r) + 3.1661 * sq(shell) * l +
       19.84 * sq(shell) * r;
  ineq[0] = 0.0193 * r / shell - 1;
  ineq[1] = 0.00954 * r / head - 1;
  ineq[2] = 1 - (pi * sq(r) * l + 4.0 / 3 * pi * cube(r)) / 1296000;
  ineq[3] = l / 240 - 1;
}

/* Wire and coil diameter, number of coils. */
static EVALUATION(spring) {
  const double d = x[0], coil = x[1], turns = x[2];
  *f = 1000 * (turns + 2) * coil * sq(d);
  ineq[0] = 1 - cube(coil) * turns / (71785 * sq(sq(d)));
  ineq[1] =
      (4 * sq(coil) - d * coil) / (12566 * (coil * cube(d) - sq(sq(d)))) + 1 / (5108 * sq(d)) - 1;
  ineq[2] = 1 - 140.45 * d / (sq(coil) * turns);
  ineq[3] = (d + coil) / 1.5 - 1;
}

static EVALUATION(tubularColumn) {
  const double d = x[0], t = x[1];
  const double load = 2500, yield = 500, young = 0.85e6, height = 250;
  *f = 9.8 * d * t + 2 * d;
  ineq[0] = load / (pi * d * t * yield) - 1;
  ineq[1] = 8 * load * sq(height) / (cube(pi) * young * d * t * (sq(d) + sq(t))) - 1;
}

/* Five hollow square segments of fixed wall thickness: side lengths, tip deflection. */
static EVALUATION(cantilever) {
  static const double weight[5] = {61, 37, 19, 7, 1};
  *f = 0;
  ineq[0] = -1;
  for (int i = 0; i < 5; ++i) {
    *f += 0.0624 * x[i];
    ineq[0] += weight[i] / cube(x[i]);
  }
}

/* Five solid segments of 100 cm, width x[2i], height x[2i+1] from the wall outwards, 50 kN at the
 * tip (N, cm). Volume in 1000 cm^3; stress, tip deflection, slenderness of each section. */
static EVALUATION(steppedCantilever) {
  const double load = 50000, length = 100, young = 2e7;
  double deflection = 0;
  *f = 0;
  for (int i = 0; i < 5; ++i) {
    const double b = x[2 * i], h = x[2 * i + 1];
    const double toTip = (5 - i) * length;
    *f += length * b * h / 1000;
    ineq[i] = 6 * load * toTip / (b * sq(h)) / 14000 - 1;
    ineq[5 + i] = h / b / 20 - 1;
    deflection += load * (cube(toTip) - cube(toTip - length)) / (3 * young * b * cube(h) / 12);
  }
  ineq[10] = deflection / 2.7 - 1;
}

/* Height, flange width, web and flange thickness; deflection in 1/1000. */
static EVALUATION(iBeam) {
  const double h = x[0], b = x[1], web = x[2], flange = x[3];
  const double clear = h - 2 * flange;
  *f = 1000 * 5000 /
       (web * cube(clear) / 12 + b * cube(flange) / 6 + 2 * b * flange * sq((h - flange) / 2));
  ineq[0] = (2 * b * flange + web * clear) / 300 - 1;
  const double stress =
      18e4 * h / (web * cube(clear) + 2 * b * flange * (4 * sq(flange) + 3 * h * clear)) +
      15e3 * b / (clear * cube(web) + 2 * flange * cube(b));
  ineq[1] = stress / 6 - 1;
}

/* Corrugated bulkhead of a tanker: width, depth, length and thickness of the plates. */
static EVALUATION(bulkhead) {
  const double b = x[0], h = x[1], l = x[2], t = x[3];
  const double width = b + sqrt(fabs(sq(l) - sq(h)));
  *f = 5.885 * t * (b + l) / width;
  ineq[0] = 1 - t * h * (0.4 * b + l / 6) / (8.94 * width);
  ineq[1] = 1 - t * sq(h) * (0.2 * b + l / 12) / (2.2 * pow(8.94 * width, 4.0 / 3));
  ineq[2] = 0.0156 * b + 0.15 - t;
  ineq[3] = 0.0156 * l + 0.15 - t;
  ineq[4] = 1.05 - t;
  ineq[5] = (h - l) / 100;
}

/* ---- machines and plants ---- */

static EVALUATION(speedReducer) {
  const double face = x[0], module = x[1], teeth = x[2], l1 = x[3], l2 = x[4], d1 = x[5], d2 = x[6];
  *f = 0.7854 * face * sq(module) * (3.3333 * sq(teeth) + 14.9334 * teeth - 43.0934) -
       1.508 * face * (sq(d1) + sq(d2)) + 7.4777 * (cube(d1) + cube(d2)) +
       0.7854 * (l1 * sq(d1) + l2 * sq(d2));
  ineq[0] = 27 / (face * sq(module) * teeth) - 1;
  ineq[1] = 397.5 / (face * sq(module) * sq(teeth)) - 1;
  ineq[2] = 1.93 * cube(l1) / (module * teeth * sq(sq(d1))) - 1;
  ineq[3] = 1.93 * cube(l2) / (module * teeth * sq(sq(d2))) - 1;
  ineq[4] = sqrt(sq(745 * l1 / (module * teeth)) + 16.9e6) / (110 * cube(d1)) - 1;
  ineq[5] = sqrt(sq(745 * l2 / (module * teeth)) + 157.5e6) / (85 * cube(d2)) - 1;
  ineq[6] = module * teeth / 40 - 1;
  ineq[7] = 5 * module / face - 1;
  ineq[8] = face / (12 * module) - 1;
  ineq[9] = (1.5 * d1 + 1.9) / l1 - 1;
  ineq[10] = (1.1 * d2 + 1.9) / l2 - 1;
}

/* Gas pipeline: distance of the compressors, pressure ratio, pipe diameter; cost in millions. */
static EVALUATION(gasPipeline) {
  *f = 0.861 * sqrt(x[0]) * x[1] * pow(x[2], -2.0 / 3) / sqrt(x[3]) + 0.0369 * x[2] +
       772 / x[0] * pow(x[1], 0.219) - 765.43 / x[0];
  ineq[0] = x[3] / sq(x[1]) + 1 / sq(x[1]) - 1;
}

/* ---- trusses ---- */

static EVALUATION(threeBarTruss) {
  const double a = x[0], b = x[1], root2 = sqrt(2);
  const double q = root2 * sq(a) + 2 * a * b;
  *f = 100 * (2 * root2 * a + b);
  ineq[0] = (root2 * a + b) / q - 1;
  ineq[1] = b / q - 1;
  ineq[2] = 1 / (a + root2 * b) - 1;
}

static EVALUATION(twoBarTruss) {
  const double stress = 0.124 * sqrt(1 + sq(x[1]));
  *f = x[0] * sqrt(1 + sq(x[1]));
  ineq[0] = stress * (8 / x[0] + 1 / (x[0] * x[1])) - 1;
  ineq[1] = stress * (8 / x[0] - 1 / (x[0] * x[1])) - 1;
}

/* The ten-bar truss (kip, in, ksi): nodes 0 to 3 are free, 4 and 5 stand on the wall. */
enum { trussBars = 10, trussNodes = 6, trussFree = 8 };
static const double trussPlace[trussNodes][2] = {{360, 360}, {360, 0}, {720, 360},
                                                 {720, 0},   {0, 360}, {0, 0}};
static const int trussEnds[trussBars][2] = {{4, 0}, {0, 2}, {5, 1}, {1, 3}, {0, 1},
                                            {2, 3}, {4, 1}, {5, 0}, {0, 3}, {1, 2}};
static const double trussYoung = 1e4, trussDensity = 1e-4;

/* Length of a bar; along receives its direction from the first end to the second. */
static double trussBar(int bar, double along[2]) {
  const double *from = trussPlace[trussEnds[bar][0]], *to = trussPlace[trussEnds[bar][1]];
  const double length = sqrt(sq(to[0] - from[0]) + sq(to[1] - from[1]));
  for (int i = 0; i < 2; ++i) along[i] = (to[i] - from[i]) / length;
  return length;
}

/* Adds E A / L times the projection on the bar to the rows of its free ends. */
static void addBarStiffness(double stiffness[trussFree][trussFree], int bar, double area) {
  double along[2];
  const double axial = trussYoung * area / trussBar(bar, along);
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column) {
      const int i = 2 * trussEnds[bar][row / 2] + row % 2;
      const int j = 2 * trussEnds[bar][column / 2] + column % 2;
      const double sign = row / 2 == column / 2 ? 1 : -1;
      if (i < trussFree && j < trussFree)
        stiffness[i][j] += sign * axial * along[row % 2] * along[column % 2];
    }
}

/* Solves K u = p by elimination without exchanges, for K is positive definite; u holds p first. */
static void solveStiffness(double stiffness[trussFree][trussFree], double u[trussFree]) {
  for (int k = 0; k < trussFree; ++k)
    for (int i = k + 1; i < trussFree; ++i) {
      const double factor = stiffness[i][k] / stiffness[k][k];
      for (int j = k; j < trussFree; ++j) stiffness[i][j] -= factor * stiffness[k][j];
      u[i] -= factor * u[k];
    }
  for (int i = trussFree - 1; i >= 0; --i) {
    for (int j = i + 1; j < trussFree; ++j) u[i] -= stiffness[i][j] * u[j];
    u[i] /= stiffness[i][i];
  }
}

/* Weight; stresses within 25 ksi in tension and compression, free nodes sinking at most 2 in
 * under upper kip upwards on both upper and lower kip downwards on both lower free nodes. */
static void tenBarTruss(const double* area, double upper, double lower, double* f, double* ineq) {
  double stiffness[trussFree][trussFree] = {{0}};
  double u[2 * trussNodes] = {0, upper, 0, -lower, 0, upper, 0, -lower};
  for (int bar = 0; bar < trussBars; ++bar) addBarStiffness(stiffness, bar, area[bar]);
  solveStiffness(stiffness, u);
  *f = 0;
  for (int bar = 0; bar < trussBars; ++bar) {
    double along[2], elongation = 0;
    const double length = trussBar(bar, along);
    for (int i = 0; i < 2; ++i)
      elongation += along[i] * (u[2 * trussEnds[bar][1] + i] - u[2 * trussEnds[bar][0] + i]);
    const double stress = trussYoung * elongation / length;
    *f += 1000 * trussDensity * area[bar] * length;
    ineq[bar] = stress / 25 - 1;
    ineq[trussBars + bar] = -stress / 25 - 1;
  }
  for (int node = 0; node < 4; ++node) ineq[2 * trussBars + node] = -u[2 * node + 1] / 2 - 1;
}

static EVALUATION(tenBarTruss1) {
  tenBarTruss(x, 0, 100, f, ineq);
}
static EVALUATION(tenBarTruss2) {
  tenBarTruss(x, 50, 150, f, ineq);
}

/* clang-format off */
static const Problem table[] = {
    {.name = "welded_beam", .source = "Ragsdell & Phillips 1976, in the form of Coello 2000",
     .n = 4, .nEq = 0, .nIneq = 7, .evaluate = weldedBeam,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(0.4, 6, 8, 0.5),
     .lower = VALUES(0.1, 0.1, 0.1, 0.1), .upper = VALUES(2, 10, 10, 2),
     .best = VALUES(0.20572963978607953, 3.470488665628002, 9.036623910357633, 0.20572963978607897),
     .fBest = 1.7248523085973615},
    {.name = "welded_beam_1976", .source = "Ragsdell & Phillips 1976, in the form of Deb 1991",
     .n = 4, .nEq = 0, .nIneq = 5, .evaluate = weldedBeam1976,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(0.4, 6, 8, 0.5), .lower = VALUES(0.125, 0.1, 0.1, 0.1), .upper = allTen,
     .best = VALUES(0.2443689534483811, 6.218606918428793, 8.29147176971278, 0.24436895344838314),
     .fBest = 2.3811341168918054},
    {.name = "pressure_vessel", .source = "Sandgren 1990, continuous thicknesses",
     .n = 4, .nEq = 0, .nIneq = 4, .evaluate = pressureVessel,
     .flags = PROBLEM_DESIGN | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(1.5, 0.8, 60, 80),
     .lower = VALUES(0.0625, 0.0625, 10, 10), .upper = VALUES(6.1875, 6.1875, 200, 200),
     .best = VALUES(0.7781686413751054, 0.38464916262790183, 40.319618724098724, 200),
     .fBest = 5885.332773616461},
    {.name = "spring", .source = "Belegundu 1982, Arora 1989; objective times 1000",
     .n = 3, .nEq = 0, .nIneq = 4, .evaluate = spring,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START,
     .start = VALUES(0.1, 0.6, 8), .lower = VALUES(0.05, 0.25, 2), .upper = VALUES(2, 1.3, 15),
     .best = VALUES(0.0516890767620611, 0.356718117002217, 11.2889436374231),
     .fBest = 12.66523278832369},
    {.name = "tubular_column", .source = "Rao 1996",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = tubularColumn,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(8, 0.5), .lower = VALUES(2, 0.2), .upper = VALUES(14, 0.8),
     .best = VALUES(5.451156234254859, 0.29196547714368315), .fBest = 26.499496891515754},
    {.name = "cantilever", .source = "Fleury & Braibant 1986, Svanberg 1987; box added",
     .n = 5, .nEq = 0, .nIneq = 1, .evaluate = cantilever,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(FIVE(5)), .lower = allOne, .upper = allTen,
     .best = VALUES(6.0160158941957205, 5.309173857382772, 4.4943295733164765, 3.5014749704443395,
                    2.1526653296458624),
     .fBest = 1.3399563605990745},
    {.name = "stepped_cantilever",
     .source = "Vanderplaats 1984; continuous sizes, minimum recomputed",
     .n = 10, .nEq = 0, .nIneq = 11, .evaluate = steppedCantilever,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(5, 60, 5, 60, 5, 60, 5, 60, 5, 60),
     .lower = VALUES(1, 30, 1, 30, 1, 30, 1, 30, 1, 30),
     .upper = VALUES(5, 65, 5, 65, 5, 65, 5, 65, 5, 65),
     .best = VALUES(3.057728304352749, 61.15456608705826, 2.8132665009801547, 56.26533001960776,
                    2.523586298609589, 50.47172597219817, 2.2045556915414797, 44.09111383083546,
                    1.7497570119377133, 34.99514023875902),
     .fBest = 63.10874798648652},
    {.name = "i_beam", .source = "Gold & Krishnamurty 1997; objective times 1000",
     .n = 4, .nEq = 0, .nIneq = 2, .evaluate = iBeam,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(60, 30, 2, 2),
     .lower = VALUES(10, 10, 0.9, 0.9), .upper = VALUES(80, 50, 5, 5),
     .best = VALUES(80, 50, 0.9, 2.3217922606924644), .fBest = 13.074118905223335},
    {.name = "bulkhead", .source = "Ravindran, Ragsdell & Reklaitis 2006; constraints divided",
     .n = 4, .nEq = 0, .nIneq = 6, .evaluate = bulkhead,
     .flags = PROBLEM_DESIGN | PROBLEM_OTHER_MINIMA,
     .start = VALUES(60, 30, 60, 2),
     .lower = VALUES(1, 1, 1, 0.1), .upper = VALUES(100, 100, 100, 5),
     .best = VALUES(57.69230769230782, 34.147620348674394, 57.6923076923077, 1.0500000000000012),
     .fBest = 6.842958010080781},
    {.name = "speed_reducer", .source = "Golinski 1970, continuous number of teeth",
     .n = 7, .nEq = 0, .nIneq = 11, .evaluate = speedReducer,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(3.1, 0.75, 22, 8, 8, 3.4, 5.25),
     .lower = VALUES(2.6, 0.7, 17, 7.3, 7.3, 2.9, 5),
     .upper = VALUES(3.6, 0.8, 28, 8.3, 8.3, 3.9, 5.5),
     .best = VALUES(3.4999999999999694, 0.7, 17, 7.3, 7.715319911478339, 3.350214666096468,
                    5.286654464980221),
     .fBest = 2994.471066146815},
    {.name = "gas_pipeline", .source = "Beightler & Phillips 1976; objective divided by 1e6",
     .n = 4, .nEq = 0, .nIneq = 1, .evaluate = gasPipeline,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(35, 5, 35, 30),
     .lower = VALUES(20, 1, 20, 0.1), .upper = VALUES(50, 10, 50, 60),
     .best = VALUES(50, 1.178283951840097, 24.59259011575713, 0.38835307116391643),
     .fBest = 2.9648954173391644},
    {.name = "three_bar_truss", .source = "Nowacki 1973",
     .n = 2, .nEq = 0, .nIneq = 3, .evaluate = threeBarTruss,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START,
     .start = VALUES(0.5, 0.5), .lower = VALUES(0.001, 0.001), .upper = allOne,
     .best = VALUES(0.7886751345899625, 0.40824829047758304), .fBest = 263.8958433764685},
    {.name = "two_bar_truss", .source = "Svanberg 1987",
     .n = 2, .nEq = 0, .nIneq = 2, .evaluate = twoBarTruss,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(1.5, 0.5), .lower = VALUES(0.2, 0.1), .upper = VALUES(4, 1.6),
     .best = VALUES(1.4116311366876197, 0.37707243373250404), .fBest = 1.5086524175018003},
    {.name = "ten_bar_truss", .source = "Venkayya 1971, first load case",
     .n = 10, .nEq = 0, .nIneq = 24, .evaluate = tenBarTruss1,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(TEN(15)), .lower = VALUES(TEN(0.1)), .upper = VALUES(TEN(35)),
     .best = VALUES(30.521806665603762, 0.1, 23.199887917112274, 15.222907124469359, 0.1,
                    0.5513555932474583, 7.457200301027946, 21.036427897688355, 21.528441712251446,
                    0.1),
     .fBest = 5060.853660338491},
    {.name = "ten_bar_truss_2", .source = "Venkayya 1971, second load case",
     .n = 10, .nEq = 0, .nIneq = 24, .evaluate = tenBarTruss2,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(TEN(15)), .lower = VALUES(TEN(0.1)), .upper = VALUES(TEN(35)),
     .best = VALUES(23.530731492096336, 0.1, 25.285109504430277, 14.374490116186873, 0.1,
                    1.9697298584596756, 12.390596496075474, 12.82770004789986, 20.328598876646367,
                    0.1),
     .fBest = 4676.922703988737},
};
/* clang-format on */

const ProblemFamily designFamily = FAMILY(table);

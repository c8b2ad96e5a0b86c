/* Larger problems: discretized shapes and controls, allocation, networks, packings, and plants and
 * structures of many equal parts. */
#include <math.h>

#include "family.h"

static const double pi = 3.14159265358979323846;

/* ---- shapes ---- */

/* Energy of a membrane of side x side points in a frame of height 0 under a load on every point:
 * half the squared differences of all neighbors, less the load times the sum. */
static double membrane(int side, const double* x, double load) {
  double energy = 0;
  for (int i = 0; i < side; ++i) {
    double beforeRow = 0, beforeColumn = 0;
    for (int j = 0; j < side; ++j) {
      const double inRow = x[i * side + j], inColumn = x[j * side + i];
      energy += 0.5 * (sq(inRow - beforeRow) + sq(inColumn - beforeColumn)) - load * inRow;
      beforeRow = inRow;
      beforeColumn = inColumn;
    }
    energy += 0.5 * (sq(beforeRow) + sq(beforeColumn));
  }
  return energy;
}
static EVALUATION(obstacle49) {
  *f = membrane(7, x, 1.0 / 64);
}
static EVALUATION(torsion81) {
  *f = 10 * membrane(9, x, 0.05);
}

/* Area of the triangles over an 8 x 8 grid of the unit square whose edge points are given. */
static double surfacePoint(const double* x, int i, int j) {
  if (i > 0 && i < 7 && j > 0 && j < 7) return x[6 * (i - 1) + j - 1];
  return 2 * (sq(i / 7.0 - 0.5) - sq(j / 7.0 - 0.5));
}
static EVALUATION(minimalSurface36) {
  *f = 0;
  for (int i = 0; i < 7; ++i)
    for (int j = 0; j < 7; ++j) {
      const double here = surfacePoint(x, i, j), down = surfacePoint(x, i + 1, j);
      const double right = surfacePoint(x, i, j + 1), across = surfacePoint(x, i + 1, j + 1);
      *f += (sqrt(1 + 49 * (sq(down - here) + sq(right - here))) +
             sqrt(1 + 49 * (sq(across - down) + sq(across - right)))) /
            98;
    }
}

/* Heights of fall at equal distances. */
static EVALUATION(brachistochrone24) {
  double before = 0;
  *f = 0;
  for (int i = 0; i < 25; ++i) {
    const double now = i < 24 ? x[i] : 1;
    *f += 2 * sqrt(sq(0.04) + sq(now - before)) / (sqrt(before) + sqrt(now));
    before = now;
  }
}

/* Objective: -10 times the area. */
static EVALUATION(dido30) {
  const double width = 1.0 / 31;
  double before = 0;
  *f = 0;
  ineq[0] = -1.5;
  for (int i = 0; i < 31; ++i) {
    const double now = i < 30 ? x[i] : 0;
    ineq[0] += sqrt(sq(width) + sq(now - before));
    *f -= 10 * width * now;
    before = now;
  }
}

/* ---- allocation ---- */

static EVALUATION(entropy40) {
  *f = 0;
  eq[0] = -1;
  eq[1] = -1.0 / 3;
  eq[2] = -1.0 / 6;
  for (int i = 0; i < 40; ++i) {
    const double place = (i + 0.5) / 40;
    *f += x[i] * log(x[i]);
    eq[0] += x[i];
    eq[1] += place * x[i];
    eq[2] += sq(place) * x[i];
  }
}

static EVALUATION(portfolio20) {
  double own = 0, market = 0, industry = 0;
  eq[0] = -1;
  ineq[0] = 0.1;
  for (int i = 0; i < 20; ++i) {
    own += sq((i % 5 + 1) / 10.0 * x[i]);
    market += (i % 7 + 3) / 30.0 * x[i];
    industry += (3 * i % 11 - 5) / 40.0 * x[i];
    eq[0] += x[i];
    ineq[0] -= (i % 6 / 60.0 + i / 400.0 + 0.04) * x[i];
  }
  *f = 100 * (own + sq(market) + sq(industry));
}

static EVALUATION(waterFilling50) {
  *f = 0;
  eq[0] = -1;
  for (int i = 0; i < 50; ++i) {
    *f -= log((7 * i % 50 + 5) / 50.0 + x[i]);
    eq[0] += x[i];
  }
}

static EVALUATION(allocation75) {
  *f = 0;
  ineq[0] = -1;
  for (int i = 0; i < 75; ++i) {
    *f += (i % 9 + 1) / (75 * x[i]);
    ineq[0] += (i % 4 + 1) * x[i] / 200;
  }
}

static EVALUATION(simplexProjection100) {
  *f = 0;
  eq[0] = -1;
  for (int i = 0; i < 100; ++i) {
    *f += sq(x[i] - 37 * i % 100 / 250.0);
    eq[0] += x[i];
  }
}

static EVALUATION(ellipsoid70) {
  *f = 0;
  ineq[0] = -1;
  ineq[1] = -2;
  for (int i = 0; i < 70; ++i) {
    *f += (1 + i % 3) * x[i];
    ineq[0] += (i + 1) * sq(x[i]);
    ineq[1] -= x[i];
  }
}

/* Shipments from source i to market j in x[5 i + j]; one of the balances follows from the rest. */
static EVALUATION(transport20) {
  static const double supply[4] = {80, 60, 70, 90}, demand[5] = {50, 75, 45, 70, 60};
  *f = 0;
  for (int i = 0; i < 4; ++i) eq[i] = -supply[i] / 10;
  for (int j = 0; j < 5; ++j) eq[4 + j] = -demand[j] / 10;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 5; ++j) {
      const double amount = x[5 * i + j];
      const int base = (17 * i + 29 * j + 13 * i * j) % 23 + 4, extra = (i * i + 3 * j) % 7;
      *f += (base + 0.5 * extra) * amount / 100;
      eq[i] += amount / 10;
      eq[4 + j] += amount / 10;
    }
}

/* ---- controls ---- */

/* Both states after each step, then the controls. */
static EVALUATION(vanDerPol60) {
  const double step = 0.25;
  double rate = 0, place = 1;
  *f = 0;
  for (int k = 0; k < 20; ++k) {
    const double u = x[40 + k];
    eq[2 * k] = x[k] - rate - step * ((1 - sq(place)) * rate - place + u);
    eq[2 * k + 1] = x[20 + k] - place - step * rate;
    rate = x[k];
    place = x[20 + k];
    *f += step * (sq(rate) + sq(place) + sq(u));
  }
}

/* Angles, deflections and curvatures at the 15 inner points of a beam of length 1; the angle is 0.1
 * at the left end and 0 at the right one, the deflection 0 at both. */
static EVALUATION(clampedBeam45) {
  const double *angle = x, *deflection = x + 15, *curvature = x + 30, step = 1.0 / 16;
  *f = 0;
  for (int i = 0; i < 14; ++i) {
    eq[2 * i] =
        deflection[i + 1] - deflection[i] - 0.5 * step * (sin(angle[i + 1]) + sin(angle[i]));
    eq[2 * i + 1] = angle[i + 1] - angle[i] - 0.5 * step * (curvature[i + 1] + curvature[i]);
    *f += step * (0.25 * (sq(curvature[i + 1]) + sq(curvature[i])) +
                  175 * (cos(angle[i + 1]) + cos(angle[i])));
  }
  *f /= 100;
  eq[28] = deflection[0] - 0.5 * step * (sin(angle[0]) + sin(0.1));
  eq[29] = deflection[14] + 0.5 * step * sin(angle[14]);
}

/* ---- quadratic programs whose answer was chosen first ---- */

/* Minimizer b_j = j mod 5 - 2, rows (i j + 7 i + 13 j) mod 11 - 5 with multipliers 1 + i mod 3. */
static void madeQp(int n, int rows, const double* x, double* f, double* ineq) {
  *f = 0;
  for (int i = 0; i < rows; ++i) ineq[i] = 0;
  for (int j = 0; j < n; ++j) {
    const double d = x[j] - (j % 5 - 2), next = x[(j + 1) % n] - ((j + 1) % n % 5 - 2);
    double slope = 0;
    for (int i = 0; i < rows; ++i) {
      const int a = (7 * i + 13 * j + i * j) % 11 - 5;
      slope -= (1 + i % 3) * a;
      ineq[i] += a * d / 10;
    }
    *f += d * (0.5 * (1 + j % 4) * d + 0.25 * next + slope) / 10;
  }
}
static EVALUATION(madeQp30) {
  madeQp(30, 10, x, f, ineq);
}
static EVALUATION(madeQp80) {
  madeQp(80, 25, x, f, ineq);
}

/* ---- structures and plants ---- */

/* Joints of a chain of six springs, five weights on it; energy divided by 100. */
static EVALUATION(springs10) {
  double energy = 0, left = 0, height = 0;
  for (int i = 0; i < 6; ++i) {
    const double right = i < 5 ? x[i] : 60, next = i < 5 ? x[5 + i] : 0;
    const double stretch = sqrt(sq(right - left) + sq(next - height)) - 10;
    energy += 0.5 * (500 + 200 * sq(2.0 / 3 - i)) * sq(stretch) + 50 * (i + 1) * next;
    left = right;
    height = next;
  }
  *f = energy / 100;
}

/* Six volumes, six concentrations; the last one at most a tenth of the feed's. */
static EVALUATION(reactorChain12) {
  double before = 1;
  *f = 0;
  for (int i = 0; i < 6; ++i) {
    const double c = x[6 + i];
    *f += x[i];
    eq[i] = before - c - 0.5 * x[i] * sq(c);
    before = c;
  }
  ineq[0] = 10 * before - 1;
}

/* Pressures between the stages. */
static EVALUATION(compressor4) {
  double before = 1;
  *f = 0;
  for (int i = 0; i < 5; ++i) {
    const double after = i < 4 ? x[i] : 100;
    *f += (pow(after / before, 0.2857) - 1) / (0.8 - 0.02 * i);
    ineq[i] = before / after - 1;
    before = after;
  }
}

static EVALUATION(dispatch6) {
  static const double fixed[6] = {2.4, 2.0, 2.2, 2.0, 2.2, 1.9};
  static const double linear[6] = {7, 10, 8.5, 11, 10.5, 12};
  static const double square[6] = {0.7, 0.95, 0.9, 0.9, 0.8, 0.75};
  static const double loss[6] = {0.0017, 0.0015, 0.0013, 0.0017, 0.0022, 0.0026};
  *f = 0;
  eq[0] = -12.63 - 0.002 * x[0] * x[1] + 0.001 * x[2] * x[4];
  for (int i = 0; i < 6; ++i) {
    *f += fixed[i] + (linear[i] + square[i] * x[i]) * x[i];
    eq[0] += (1 - 3 * loss[i] * x[i]) * x[i];
  }
}

/* Bearing step and recess radius (in), viscosity (1e-6 lb s / in^2), flow (in^3 / s). */
static EVALUATION(thrustBearing) {
  const double r = x[0], recess = x[1], viscosity = x[2] * 1e-6, flow = x[3];
  const double weight = 0.0307, heat = 0.5, annulus = sq(r) - sq(recess);
  const double p = (log10(log10(8.122 * x[2] + 0.8)) - 10.04) / -3.55;
  const double warming = 2 * (pow(10, p) - 560);
  const double friction = 9336 * flow * weight * heat * warming;
  const double film = sq(2 * pi * 750 / 60) * (2 * pi * viscosity / friction) *
                      (sq(sq(r)) / 4 - sq(sq(recess)) / 4);
  const double inlet = 6 * viscosity * flow / (pi * cube(film)) * log(r / recess);
  const double load = pi * inlet / 2 * annulus / log(r / recess);
  *f = (flow * inlet / 0.7 + friction) / 12000;
  ineq[0] = 1 - load / 101000;
  ineq[1] = inlet / 1000 - 1;
  ineq[2] = warming / 50 - 1;
  ineq[3] = 1 - film / 0.001;
  ineq[4] = recess - r;
  ineq[5] = weight / (386.4 * inlet) * (flow / (2 * pi * r * film)) / 0.001 - 1;
  ineq[6] = load / (pi * annulus) / 5000 - 1;
}

/* ---- packings and charges ---- */

static EVALUATION(thomson6) {
  *f = 0;
  for (int i = 0; i < 5; ++i) {
    const double* a = x + 3 * i;
    *f += 1 / sqrt(sq(a[0]) + sq(a[1]) + sq(a[2] - 1));
    for (int j = 0; j < i; ++j) {
      const double* b = x + 3 * j;
      *f += 1 / sqrt(sq(a[0] - b[0]) + sq(a[1] - b[1]) + sq(a[2] - b[2]));
    }
    eq[i] = sq(a[0]) + sq(a[1]) + sq(a[2]) - 1;
  }
}

static EVALUATION(circlesSquare11) {
  int row = 0;
  *f = -x[10];
  for (int i = 0; i < 5; ++i)
    for (int j = 0; j < i; ++j) ineq[row++] = sq(x[10]) - sq(x[i] - x[j]) - sq(x[5 + i] - x[5 + j]);
}

/* ---- chains ---- */

static EVALUATION(craggLevy20) {
  *f = 0;
  for (int i = 0; i < 18; i += 2) {
    const double d = x[i + 2] - x[i + 3];
    *f += sq(sq(exp(x[i]) - x[i + 1])) + 100 * sq(cube(x[i + 1] - x[i + 2])) + sq(sq(tan(d) + d)) +
          sq(sq(sq(x[i]))) + sq(x[i + 3] - 1);
  }
}

static EVALUATION(chainedWood32) {
  *f = 0;
  for (int i = 0; i < 30; i += 2)
    *f += 100 * sq(sq(x[i]) - x[i + 1]) + sq(x[i] - 1) + 90 * sq(sq(x[i + 2]) - x[i + 3]) +
          sq(x[i + 2] - 1) + 10 * sq(x[i + 1] + x[i + 3] - 2) + sq(x[i + 1] - x[i + 3]) / 10;
}

static EVALUATION(singularPowell24) {
  *f = 0;
  ineq[0] = 6;
  for (int i = 0; i < 24; i += 4)
    *f += sq(x[i] + 10 * x[i + 1]) + 5 * sq(x[i + 2] - x[i + 3]) + sq(sq(x[i + 1] - 2 * x[i + 2])) +
          10 * sq(sq(x[i] - x[i + 3]));
  for (int i = 0; i < 24; ++i) ineq[0] -= sq(x[i]);
}

/* clang-format off */
static const Problem table[] = {
    {.name = "obstacle_49",
     .source = "More & Toraldo 1991: membrane over an obstacle, 7 x 7 points; obstacle "
               "(sin(3.2 u) sin(3.3 v))^3",
     .n = 49, .nEq = 0, .nIneq = 0, .evaluate = obstacle49,
     .flags = PROBLEM_SCALABLE | PROBLEM_ACTIVE_BOUNDS,
     .start = allOne, .lower = VALUES(0.003805048934258515, 0.023405038869746025,
         0.0498312716780486, 0.058500326885918184, 0.04045388025752397, 0.01395955160935926,
         0.0009379410581431909, 0.02378567089669014, 0.14630680485282746, 0.3114993391612169,
         0.36569030955929027, 0.25288050138758145, 0.08726229443624338, 0.005863145971297393,
         0.052169107992337316, 0.32089469056948444, 0.6832114483894827, 0.8020684946836885,
         0.5546427613223612, 0.1913923757659069, 0.012859637076455759, 0.06435101052198253,
         0.3958261585058789, 0.8427467671195036, 0.9893578810724897, 0.6841562668665755,
         0.23608402099856016, 0.015862464831436846, 0.04844276475074054, 0.2979737741979889,
         0.6344109137193934, 0.7447782202381057, 0.5150256510306208, 0.17772157108139539,
         0.011941096899071921, 0.019857111621379563, 0.12214204793921811, 0.2600505646687892,
         0.3052910858522871, 0.21111350462779638, 0.07284962145840905, 0.004894759727828205,
         0.0024221407092929487, 0.01489870391378891, 0.03172057805631312, 0.03723894901365817,
         0.025751308830330548, 0.008886087622180306, 0.0005970554542391543), .upper = VALUES(TEN(2),
         TEN(2), TEN(2), TEN(2), FIVE(2), 2, 2, 2, 2),
     .best = VALUES(0.07410567129422913, 0.13981385150462497, 0.19175187471210323,
         0.2077387013126203, 0.17661932952746076, 0.1245413547810306, 0.06547773339263209,
         0.14098383367229153, 0.2777728600121675, 0.4038299460311676, 0.4469586010109171,
         0.3585722620161922, 0.24044335620402954, 0.12174457878949775, 0.19643180338276947,
         0.41083880884058593, 0.6832114483894827, 0.8020684946836885, 0.5546427613223612,
         0.3412902292293976, 0.1654322255613294, 0.21827957101820036, 0.4703141235779242,
         0.8427467671195036, 0.9893578810724897, 0.6841562668665755, 0.3890175738298703,
         0.18306909422642223, 0.19074735711210783, 0.39376634733340676, 0.6344109137193934,
         0.7447782202381057, 0.5293285810802772, 0.3319297049970858, 0.16220157751448921,
         0.13531851009682422, 0.2639679949242016, 0.3783708789594501, 0.418841317240893,
         0.3408251322193421, 0.2315460875637065, 0.11818251083444882, 0.07093368835098739,
         0.13279124330712536, 0.1806382899533124, 0.1957660375466742, 0.1679595429924914,
         0.11962200220394936, 0.06335737825959954), .fBest = 1.1367206045967804},
    {.name = "torsion_81",
     .source = "More & Toraldo 1991: elastic-plastic torsion, 9 x 9 points, c = 5; energy "
               "times 10",
     .n = 81, .nEq = 0, .nIneq = 0, .evaluate = torsion81,
     .flags = PROBLEM_SCALABLE | PROBLEM_ACTIVE_BOUNDS,
     .start = allZero, .lower = VALUES(TEN(-0.1), FIVE(-0.2), -0.2, -0.2, -0.1, -0.1, -0.2,
         FIVE(-0.3), -0.2, -0.1, -0.1, -0.2, -0.3, -0.4, -0.4, -0.4, -0.3, -0.2, -0.1, -0.1, -0.2,
         -0.3, -0.4, -0.5, -0.4, -0.3, -0.2, -0.1, -0.1, -0.2, -0.3, -0.4, -0.4, -0.4, -0.3, -0.2,
         -0.1, -0.1, -0.2, FIVE(-0.3), -0.2, -0.1, -0.1, FIVE(-0.2), -0.2, -0.2, TEN(-0.1)), .upper
         = VALUES(TEN(0.1), FIVE(0.2), 0.2, 0.2, 0.1, 0.1, 0.2, FIVE(0.3), 0.2, 0.1, 0.1, 0.2, 0.3,
         0.4, 0.4, 0.4, 0.3, 0.2, 0.1, 0.1, 0.2, 0.3, 0.4, 0.5, 0.4, 0.3, 0.2, 0.1, 0.1, 0.2, 0.3,
         0.4, 0.4, 0.4, 0.3, 0.2, 0.1, 0.1, 0.2, FIVE(0.3), 0.2, 0.1, 0.1, FIVE(0.2), 0.2, 0.2,
         TEN(0.1)),
     .best = VALUES(0.05701324884792627, 0.08902649769585254, FIVE(0.1), 0.08902649769585254,
         0.05701324884792627, 0.08902649769585254, 0.14909274193548389, 0.18415898617511522, 0.2,
         0.2, 0.2, 0.18415898617511522, 0.14909274193548389, 0.08902649769585254, 0.1,
         0.18415898617511522, 0.23754320276497698, 0.2659274193548387, 0.2738767281105991,
         0.2659274193548387, 0.23754320276497698, 0.18415898617511522, 0.1, 0.1, 0.2,
         0.2659274193548387, 0.3022897465437788, 0.3136520737327189, 0.3022897465437788,
         0.2659274193548387, 0.2, 0.1, 0.1, 0.2, 0.2738767281105991, 0.3136520737327189,
         0.32615207373271893, 0.3136520737327189, 0.2738767281105991, 0.2, 0.1, 0.1, 0.2,
         0.2659274193548387, 0.3022897465437788, 0.3136520737327189, 0.3022897465437788,
         0.2659274193548387, 0.2, 0.1, 0.1, 0.18415898617511522, 0.23754320276497698,
         0.2659274193548387, 0.2738767281105991, 0.2659274193548387, 0.23754320276497698,
         0.18415898617511522, 0.1, 0.08902649769585254, 0.14909274193548389, 0.18415898617511522,
         0.2, 0.2, 0.2, 0.18415898617511522, 0.14909274193548389, 0.08902649769585254,
         0.05701324884792627, 0.08902649769585254, FIVE(0.1), 0.08902649769585254,
         0.05701324884792627), .fBest = -4.082171658986176},
    {.name = "minimal_surface_36",
     .source = "Dolan, More & Munson 2004 (COPS): minimal surface over 6 x 6 points, frame (u "
               "- 1/2)^2 - (v - 1/2)^2",
     .n = 36, .nEq = 0, .nIneq = 0, .evaluate = minimalSurface36,
     .flags = PROBLEM_SCALABLE,
     .start = allZero, .lower = VALUES(TEN(-1), TEN(-1), TEN(-1), FIVE(-1), -1), .upper = allOne,
     .best = VALUES(7.531179685861625e-37, 0.12944371559686074, 0.18713304408024162,
         0.1857053127282087, 0.1263119979328802, 1.0600851815927283e-36, -0.12944371559686074,
         1.0267255904416435e-36, 0.05577790072610086, 0.05545182613794436, 1.2885177011660273e-36,
         -0.1263119979328802, -0.18713304408024162, -0.05577790072610086, 5.887163827933448e-37,
         6.106659554989803e-37, -0.05545182613794436, -0.1857053127282087, -0.1857053127282087,
         -0.05545182613794436, 1.1348769931651236e-37, -9.731010161010159e-38, -0.05577790072610086,
         -0.18713304408024162, -0.1263119979328802, 4.702030288293194e-37, 0.05545182613794436,
         0.05577790072610086, -6.9042538869461165e-37, -0.12944371559686074,
         -1.3795994346761628e-37, 0.1263119979328802, 0.1857053127282087, 0.18713304408024162,
         0.12944371559686074, -7.72256449341533e-37), .fBest = 1.8397485890113479},
    {.name = "brachistochrone_24",
     .source = "Bernoulli 1696: fastest polygon of 25 chords from (0, 0) down to (1, 1), time "
               "times sqrt(2g)",
     .n = 24, .nEq = 0, .nIneq = 0, .evaluate = brachistochrone24,
     .flags = PROBLEM_SCALABLE,
     .start = VALUES(0.04, 0.08, 0.12, 0.16, 0.2, 0.24, 0.28, 0.32, 0.36, 0.4, 0.44, 0.48, 0.52,
         0.56, 0.6, 0.64, 0.68, 0.72, 0.76, 0.8, 0.84, 0.88, 0.92, 0.96), .lower =
         VALUES(TEN(0.001), TEN(0.001), 0.001, 0.001, 0.001, 0.001), .upper = VALUES(TEN(3), TEN(3),
         3, 3, 3, 3),
     .best = VALUES(0.172579215196637, 0.2558712718491628, 0.32438618146644277, 0.3840021343242768,
         0.4373386172410681, 0.48585896362751324, 0.5304880845189552, 0.5718587300883533,
         0.6104284150823538, 0.6465417782021318, 0.6804667449377155, 0.7124168741267661,
         0.7425658745094693, 0.7710574237151392, 0.7980120352618525, 0.8235319976780521,
         0.8477050129322223, 0.8706069325116516, 0.8923038521847199, 0.912853741216917,
         0.932307727253614, 0.9507111222413113, 0.9681042506561283, 0.9845231247570202), .fBest =
         2.588095666228232},
    {.name = "dido_30",
     .source = "the problem of Dido: most area under a polygon of 31 chords and length 1.5 "
               "over [0, 1]",
     .n = 30, .nEq = 0, .nIneq = 1, .evaluate = dido30,
     .flags = PROBLEM_SCALABLE,
     .start = VALUES(TEN(0.1), TEN(0.1), TEN(0.1)), .lower = allZero, .upper = allOne,
     .best = VALUES(0.13861786689505448, 0.20898948231170522, 0.2597747407989654,
         0.2998749707424215, 0.3327946968504175, 0.36033604573099687, 0.3835666947279231,
         0.40317650202610994, 0.41963703908020306, 0.4332826160670946, 0.44435525426779954,
         0.45303127527268716, 0.45943770613517954, 0.4636626225638704, 0.46576162177083286,
         0.46576162177083286, 0.4636626225638704, 0.45943770613517954, 0.45303127527268716,
         0.44435525426779954, 0.4332826160670946, 0.41963703908020306, 0.40317650202610994,
         0.3835666947279231, 0.36033604573099687, 0.3327946968504175, 0.2998749707424215,
         0.2597747407989654, 0.20898948231170522, 0.13861786689505448), .fBest =
         -3.565354280800814},
    {.name = "entropy_40",
     .source = "Jaynes 1957: distribution of most entropy on 40 points with mean 1/3 and "
               "second moment 1/6",
     .n = 40, .nEq = 3, .nIneq = 0, .evaluate = entropy40,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(TEN(0.025), TEN(0.025), TEN(0.025), TEN(0.025)), .lower = VALUES(TEN(0.0001),
         TEN(0.0001), TEN(0.0001), TEN(0.0001)), .upper = VALUES(TEN(0.5), TEN(0.5), TEN(0.5),
         TEN(0.5)),
     .best = VALUES(0.045297796899989896, 0.04533091031795823, 0.04520767879014633,
         0.044929375737869766, 0.0444988685039584, 0.043920569172565135, 0.043200359294825026,
         0.042345490316212264, 0.04136446206268436, 0.04026688213229396, 0.039063309442920136,
         0.03776508549429487, 0.03638415710623995, 0.034932894491340044, 0.03342390850924667,
         0.03186987083515047, 0.030283340563765516, 0.02867660047252126, 0.0270615057961466,
         0.025449347933983027, 0.023850735037024045, 0.02227549092035725, 0.020732573234924178,
         0.019230011326269534, 0.017774863722053422, 0.0163731947377697, 0.015030069282588111,
         0.013749564593495295, 0.01253479733249956, 0.011387964252651511, 0.010310394475639337,
         0.009302611326061869, 0.008364401632394615, 0.007494890427566315, 0.006692619056898712,
         0.005955624820746977, 0.00528152043557015, 0.004667571782017571, 0.004110772613535821,
         0.003607915115824112), .fBest = -3.500766424599494},
    {.name = "portfolio_20",
     .source = "Markowitz 1952: 20 assets, two factors, return of at least 0.1; variance times "
               "100",
     .n = 20, .nEq = 1, .nIneq = 1, .evaluate = portfolio20,
     .flags = PROBLEM_SCALABLE | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(TEN(0.05), TEN(0.05)), .lower = allZero, .upper = VALUES(TEN(0.25), TEN(0.25)),
     .best = VALUES(0.23144250054569504, 0.03287475627767224, 0.0035061721861869843, 0, 0, 0, 0,
         0.1291620275187013, 0.020456872420379052, 0.009094659331642349, 0.12742300785605262, 0, 0,
         0, 0.0543307672513475, 0.25, 0.10579435422660864, 0.035914882385714275, 0, 0), .fBest =
         2.3019598871248323},
    {.name = "water_filling_50",
     .source = "Boyd & Vandenberghe 2004, example 5.2: power 1 on 50 channels",
     .n = 50, .nEq = 1, .nIneq = 0, .evaluate = waterFilling50,
     .flags = PROBLEM_SCALABLE | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(FIFTY(0.02)), .lower = allZero, .upper = allOne,
     .best = VALUES(0.19, 0.05, FIVE(0), 0, 0.07, FIVE(0), 0, 0.09, FIVE(0), 0, 0.11, FIVE(0), 0,
         0.13, FIVE(0), 0, 0.15, 0.01, FIVE(0), 0.17, 0.03, FIVE(0)), .fBest = 29.730772696685516},
    {.name = "allocation_75", .source = "Ibaraki & Katoh 1988: sum c_i / x_i under a budget",
     .n = 75, .nEq = 0, .nIneq = 1, .evaluate = allocation75,
     .flags = PROBLEM_SCALABLE,
     .start = allOne, .lower = VALUES(FIFTY(0.05), TEN(0.05), TEN(0.05), FIVE(0.05)), .upper =
         VALUES(FIFTY(20), TEN(20), TEN(20), FIVE(20)),
     .best = VALUES(0.8219643123076968, 0.8219643123076968, 0.8219643123076968, 0.8219643123076968,
         1.8379680773988771, 1.4236839509253432, 1.2555712265674477, 1.1624330782522192,
         2.4658929369230904, 0.5812165391261096, 0.671131050643844, 0.7118419754626716,
         1.6439286246153937, 1.2996396911331474, 1.1624330782522192, 1.0873565784681967,
         2.3248661565044384, 1.743649617378329, 0.4745613169751144, 0.5812165391261096,
         1.4236839509253432, 1.1624330782522192, 1.0611513642481807, 1.006696575965766,
         2.1747131569363933, 1.6439286246153937, 1.4236839509253432, 0.4109821561538484,
         1.1624330782522192, 1.006696575965766, 0.9491226339502288, 0.9189840386994386,
         2.013393151931532, 1.5377544204053284, 1.342262101287688, 1.2329464684615452,
         0.8219643123076968, 0.8219643123076968, 0.8219643123076968, 0.8219643123076968,
         1.8379680773988771, 1.4236839509253432, 1.2555712265674477, 1.1624330782522192,
         2.4658929369230904, 0.5812165391261096, 0.671131050643844, 0.7118419754626716,
         1.6439286246153937, 1.2996396911331474, 1.1624330782522192, 1.0873565784681967,
         2.3248661565044384, 1.743649617378329, 0.4745613169751144, 0.5812165391261096,
         1.4236839509253432, 1.1624330782522192, 1.0611513642481807, 1.006696575965766,
         2.1747131569363933, 1.6439286246153937, 1.4236839509253432, 0.4109821561538484,
         1.1624330782522192, 1.006696575965766, 0.9491226339502288, 0.9189840386994386,
         2.013393151931532, 1.5377544204053284, 1.342262101287688, 1.2329464684615452,
         0.8219643123076968, 0.8219643123076968, 0.8219643123076968), .fBest = 3.946960756895142},
    {.name = "simplex_projection_100",
     .source = "Held, Wolfe & Crowder 1974: nearest point of the unit simplex",
     .n = 100, .nEq = 1, .nIneq = 0, .evaluate = simplexProjection100,
     .flags = PROBLEM_SCALABLE | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(HUNDRED(0.01)), .lower = allZero, .upper = allOne,
     .best = VALUES(FIVE(0), 0.03145454545454546, 0, 0, 0.07545454545454545, 0, 0, 0, 0,
         0.015454545454545455, 0, 0, 0.059454545454545454, FIVE(0), 0, 0, 0.043454545454545454, 0,
         0, 0.08745454545454545, 0, 0, 0, 0, 0.027454545454545454, 0, 0, 0.07145454545454545, 0, 0,
         0, 0, 0.011454545454545455, 0, 0, 0.05545454545454546, FIVE(0), 0, 0, 0.03945454545454546,
         0, 0, 0.08345454545454545, 0, 0, 0, 0, 0.023454545454545454, 0, 0, 0.06745454545454546, 0,
         0, 0, 0, 0.007454545454545454, 0, 0, 0.051454545454545454, FIVE(0), 0, 0,
         0.035454545454545454, 0, 0, 0.07945454545454546, 0, 0, 0, 0, 0.019454545454545454, 0, 0,
         0.06345454545454546, 0, 0, 0, 0, 0.0034545454545454545, 0, 0, 0.04745454545454546, 0, 0),
         .fBest = 4.5768865454545455},
    {.name = "ellipsoid_70",
     .source = "linear objective on an ellipsoid of half-axes 1 / sqrt(i), cut by sum x >= -2",
     .n = 70, .nEq = 0, .nIneq = 2, .evaluate = ellipsoid70,
     .flags = PROBLEM_SCALABLE,
     .start = allZero, .lower = VALUES(FIFTY(-1), TEN(-1), TEN(-1)), .upper = allOne,
     .best = VALUES(-0.22271519499861048, -0.2274955756334648, -0.22908903584508294,
         -0.05567879874965262, -0.09099823025338594, -0.11454451792254147, -0.03181645642837293,
         -0.0568738939083662, -0.07636301194836098, -0.02227151949986105, -0.04136283193335724,
         -0.057272258961270736, -0.01713193807681619, -0.03249936794763783, -0.04581780716901659,
         -0.013919699687413155, -0.02676418536864292, -0.03818150597418049, -0.011721852368347921,
         -0.022749557563346484, -0.032727005120726134, -0.010123417954482294, -0.019782223968127375,
         -0.028636129480635368, -0.00890860779994442, -0.01749965966411268, -0.02545433731612033,
         -0.007954114107093232, -0.01568935004368723, -0.022908903584508294, -0.0071843611289874355,
         -0.01421847347709155, -0.02082627598591663, -0.006550446911723838, -0.012999747179055133,
         -0.019090752987090245, -0.00601932959455704, -0.011973451349129728, -0.01762223352654484,
         -0.005567879874965262, -0.011097345152851943, -0.016363502560363067, -0.00517942313950257,
         -0.01034070798333931, -0.015272602389672195, -0.004841634673882837, -0.009680662792913398,
         -0.014318064740317684, -0.004545208061196133, -0.009099823025338592, -0.013475825637946056,
         -0.004282984519204048, -0.008584738703149616, -0.012727168658060164, -0.004049367181792918,
         -0.008124841986909458, -0.012057317676056997, -0.0038399171551484566,
         -0.007711714428253045, -0.011454451792254147, -0.0036510687704690245, -0.00733856695591822,
         -0.010909001706908712, -0.0034799249218532887, -0.0069998638656450715,
         -0.010413137992958316, -0.0033241073880389627, -0.00669104634216073, -0.009960392862829693,
         -0.003181645642837293), .fBest = -4.387546343204608},
    {.name = "van_der_pol_60",
     .source = "Vassiliadis, Sargent & Pantelides 1994: control of the van der Pol oscillator, "
               "20 explicit steps",
     .n = 60, .nEq = 40, .nIneq = 0, .evaluate = vanDerPol60,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS |
              PROBLEM_OTHER_MINIMA,
     .start = VALUES(TEN(0), TEN(0), TEN(1), TEN(1), TEN(0), TEN(0)), .lower = VALUES(FIFTY(-2),
         TEN(-2)), .upper = VALUES(TEN(2), TEN(2), TEN(2), TEN(2), TEN(0.75), TEN(0.75)),
     .best = VALUES(-0.16926671991045592, -0.23176671991045592, -0.2884875927263034,
         -0.33965969871656204, -0.3858167044246691, -0.4272419537776397, -0.4635067817299461,
         -0.4930238977373652, -0.5125578748420495, -0.5167180095382351, -0.4976103992252863,
         -0.44503022943534337, -0.34769682143906894, -0.2406444535191353, -0.15307828010431407,
         -0.07772809893778271, -0.006607025712867182, 0.06897631485078203, 0.15819376410727126,
         0.27053340099236606, 1, 0.957683320022386, 0.8997416400447721, 0.8276197418631962,
         0.7427048171840557, 0.6462506410778884, 0.5394401526334784, 0.423563457200992,
         0.30030748276665065, 0.17216801405613827, 0.04298851167157951, -0.08141408813474207,
         -0.19267164549357793, -0.27959585085334515, -0.33975696423312896, -0.3780265342592075,
         -0.3974585589936532, -0.39911031542187, -0.38186623670917447, -0.34231779568235665,
         0.3229331203581763, TEN(0.75), 0.75, 0.75, 0.5703273200137446, 0.29250119536344493,
         0.09705148069356498, -0.02692180338300348, -0.08956190472165287, -0.10022966200401412,
         -0.06763335024809151), .fBest = 3.897084806565541},
    {.name = "clamped_beam_45",
     .source = "Maurer & Mittelmann 1991 (CUTE, CLNLBEAM): beam between two walls, 15 steps, "
               "load 350",
     .n = 45, .nEq = 30, .nIneq = 0, .evaluate = clampedBeam45,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS |
              PROBLEM_OTHER_MINIMA,
     .start = allZero, .lower = VALUES(TEN(-1), FIVE(-1), TEN(-0.05), FIVE(-0.05), TEN(-20),
         FIVE(-20)), .upper = VALUES(TEN(1), FIVE(1), TEN(0.05), FIVE(0.05), TEN(20), FIVE(20)),
     .best = VALUES(-0.7700936361277505, -0.31248947650764425, 0.31248947650763864,
        0.7887659363850219, 0.7261924562497548, 0.14606701812172262, -0.5490128325234571,
        -0.8469101846655459, -0.5145837546169304, 0.181965433934903, 0.7330042793577713,
        0.7680322005958999, 0.29567335352389656, -0.29567335352389584, -0.7132671568441447,
        -0.01863653254074668, -0.05, -0.05, -0.01822147991919307, 0.024700759631832464, 0.05,
        0.038240711815044785, -0.0014806314983706517, -0.0402746985975256, -0.05,
        -0.02343536748734827, 0.019184211318435763, 0.05, 0.05, 0.020447124214722286,
        5.665993391767089, 8.97733971607617, 11.021986780413037, 4.21885993566297,
        -6.221211299991359, -12.342802720105547, -9.899752500540256, 0.36703723199350974,
        10.267408529562104, 12.022165504096582, 5.6110775494352385, -4.490184069815218,
        -10.62529903648888, -8.297795589040355, -5.0652061172076115), .fBest =
        2.9062986158533044},
    {.name = "transport_20", .source = "Hitchcock 1941: four sources, five markets",
     .n = 20, .nEq = 9, .nIneq = 0, .evaluate = transport20,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_ACTIVE_BOUNDS | PROBLEM_REDUNDANT |
              PROBLEM_DEGENERATE,
     .start = VALUES(TEN(15), TEN(15)), .lower = allZero, .upper = VALUES(TEN(100), TEN(100)),
     .best = VALUES(50, 30, FIVE(0), 0, 60, 0, 0, 0, 10, 0, 60, 0, 45, 35, 10, 0), .fBest = 24.65},
    {.name = "made_qp_30",
     .source = "made for this collection: convex quadratic programme with chosen minimizer and "
               "multipliers",
     .n = 30, .nEq = 0, .nIneq = 10, .evaluate = madeQp30,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(-2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0,
         1, 2, -2, -1, 0, 1, 2), .fBest = 0},
    {.name = "made_qp_80",
     .source = "made for this collection: convex quadratic programme with chosen minimizer and "
               "multipliers",
     .n = 80, .nEq = 0, .nIneq = 25, .evaluate = madeQp80,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = VALUES(-2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0,
         1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2,
         -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2, -1, 0, 1, 2, -2,
         -1, 0, 1, 2), .fBest = 0},
    {.name = "springs_10", .source = "Vanderplaats 1984: five weights on six springs",
     .n = 10, .nEq = 0, .nIneq = 0, .evaluate = springs10,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(10, 20, 30, 40, 50, FIVE(0)), .lower = VALUES(TEN(-100)), .upper =
         VALUES(TEN(100)),
     .best = VALUES(10.355025091641524, 21.08666155928875, 31.686935289852983, 42.08980428127505,
         51.77133982487084, -4.280052792194059, -7.897359832822711, -9.853602538559096,
         -9.393399110355915, -6.011791670308891), .fBest = -44.163841861024046},
    {.name = "reactor_chain_12",
     .source = "Levenspiel 1972: six stirred tanks in series for a second-order reaction, "
               "least total volume",
     .n = 12, .nEq = 6, .nIneq = 1, .evaluate = reactorChain12,
     .flags = PROBLEM_DESIGN | PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(FIVE(5), 5, FIVE(0.5), 0.5), .lower = VALUES(TEN(0.01), 0.01, 0.01), .upper =
         VALUES(FIVE(20), 20, FIVE(1), 1),
     .best = VALUES(2.6818578496137895, 3.2914086220386096, 3.923435294624066, 4.572773870855434,
         5.235762158379955, 5.909736265433574, 0.567755901203788, 0.357465361274918,
         0.24229708353591053, 0.17348421515814905, 0.12954868132716787, 0.1), .fBest =
         25.61497406094543},
    {.name = "compressor_4",
     .source = "five-stage compression from 1 to 100 bar with cooling between, stage "
               "efficiencies 0.80 .. 0.72",
     .n = 4, .nEq = 0, .nIneq = 5, .evaluate = compressor4,
     .flags = PROBLEM_DESIGN,
     .start = VALUES(20, 40, 60, 80), .lower = allOne, .upper = VALUES(100, 100, 100, 100),
     .best = VALUES(3.0131810470113254, 8.309304700435078, 20.922743540329748, 47.988148915984205),
         .fBest = 1.97711932715176},
    {.name = "dispatch_6",
     .source = "Wood & Wollenberg 1984: six generators, 12 MW/100 with losses; MW in 100",
     .n = 6, .nEq = 1, .nIneq = 0, .evaluate = dispatch6,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START,
     .start = VALUES(2, 2, 2, 1.5, 2, 1.2), .lower = VALUES(1, 0.5, 0.8, 0.5, 0.5, 0.5), .upper =
         VALUES(5, 2, 3, 1.5, 2, 1.2),
     .best = VALUES(4.278602898186822, 1.738139435381881, 2.705009473374594, 1.3575587911848805,
         1.7805304102261357, 0.9531196306188313), .fBest = 155.2365254533017},
    {.name = "thrust_bearing",
     .source = "Siddall 1982: hydrostatic thrust bearing, logarithm written for the ratio of "
               "radii; viscosity in 1e-6",
     .n = 4, .nEq = 0, .nIneq = 7, .evaluate = thrustBearing,
     .flags = PROBLEM_DESIGN | PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(6, 5.4, 5, 5), .lower = allOne, .upper = VALUES(16, 16, 16, 16),
     .best = VALUES(5.955780495321751, 5.389013045775861, 5.358697265744076, 2.2696559633923425),
         .fBest = 1.6254427590801064},
    {.name = "thomson_6",
     .source = "Thomson 1904 (COPS): five charges free on the sphere, one at the pole",
     .n = 15, .nEq = 5, .nIneq = 0, .evaluate = thomson6,
     .flags = PROBLEM_INFEASIBLE_START | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.9, 0.1, 0.2, -0.8, 0.3, -0.1, 0.2, 0.7, 0.6, -0.1, -0.9, 0.2, 0.3, 0.2,
         -0.9), .lower = VALUES(TEN(-1.5), FIVE(-1.5)), .upper = VALUES(TEN(1.5), FIVE(1.5)),
     .best = VALUES(0.04990832390377193, -0.9987538030992004, 1.0342622528268572e-35,
         -1.2249422973564983e-35, -1.803781528081534e-35, -1, 0.9987538030992004,
         0.04990832390377193, -6.856666012502803e-36, -0.04990832390377193, 0.9987538030992004,
         -1.101766795988763e-35, -0.9987538030992004, -0.04990832390377193, 2.573177110580635e-36),
         .fBest = 9.98528137423857},
    {.name = "circles_square_11",
     .source = "Packings (Markot & Csendes 2005): five points of the unit square, least "
               "distance largest",
     .n = 11, .nEq = 0, .nIneq = 10, .evaluate = circlesSquare11,
     .flags = PROBLEM_ACTIVE_BOUNDS | PROBLEM_OTHER_MINIMA,
     .start = VALUES(0.1, 0.9, 0.5, 0.1, 0.85, 0.15, 0.1, 0.45, 0.9, 0.8, 0.2), .lower = allZero,
         .upper = allOne,
     .best = VALUES(1, 1, 0.5, 0, 0, 1, 0, 0.5, 1, 0, 0.7071067811865476), .fBest =
         -0.7071067811865476},
    {.name = "cragg_levy_20",
     .source = "Luksan & Vlcek 1999, problem 5.4 without constraints: chained Cragg and Levy; "
               "box added",
     .n = 20, .nEq = 0, .nIneq = 0, .evaluate = craggLevy20,
     .flags = PROBLEM_SCALABLE | PROBLEM_OTHER_MINIMA,
     .start = VALUES(1, TEN(2), FIVE(2), 2, 2, 2, 2), .lower = VALUES(TEN(-5), TEN(-5)), .upper =
         VALUES(TEN(5), TEN(5)),
     .best = VALUES(-0.4590992246827907, 0.3931153678605023, 0.2376857488795776, 0.5386741297510375,
         0.2909409465550191, 0.5830129341442734, 0.3161642507442904, 0.6044509120963226,
         0.3303572853031895, 0.617713360339295, 0.3415390278763531, 0.6302776738920477,
         0.35574440180314265, 0.6489019714747445, 0.38111182532997107, 0.684174386108156,
         0.435647760341507, 0.7605867395662066, 0.9021077746176226, 0.9829695455949957), .fBest =
         5.235115974211164},
    {.name = "chained_wood_32",
     .source = "Luksan & Vlcek 1999, problem 5.2 without constraints: chained Wood; box added",
     .n = 32, .nEq = 0, .nIneq = 0, .evaluate = chainedWood32,
     .flags = PROBLEM_SCALABLE | PROBLEM_OTHER_MINIMA,
     .start = VALUES(-3, -1, -3, -1, -2, 0, -2, 0, -2, 0, -2, 0, -2, 0, -2, 0, -2, 0, -2, 0, -2, 0,
         -2, 0, -2, 0, -2, 0, -2, 0, -2, 0), .lower = VALUES(TEN(-5), TEN(-5), TEN(-5), -5, -5),
         .upper = VALUES(TEN(5), TEN(5), TEN(5), 5, 5),
     .best = allOne, .fBest = 0},
    {.name = "singular_powell_24",
     .source = "after Schittkowski 1987, problem 288; bounds and the outside of a sphere added",
     .n = 24, .nEq = 0, .nIneq = 1, .evaluate = singularPowell24,
     .flags = PROBLEM_SCALABLE | PROBLEM_ACTIVE_BOUNDS,
     .start = VALUES(1.5, 0.5, 0.5, 1, 1.5, 0.5, 0.5, 1, 1.5, 0.5, 0.5, 1, 1.5, 0.5, 0.5, 1, 1.5,
         0.5, 0.5, 1, 1.5, 0.5, 0.5, 1), .lower = allZero, .upper = VALUES(TEN(5), TEN(5), 5, 5, 5,
         5),
     .best = VALUES(0.7653987182874702, 0, 0.35184464221017564, 0.5388600465722907,
         0.7653987182874702, 0, 0.35184464221017564, 0.5388600465722907, 0.7653987182874702, 0,
         0.35184464221017564, 0.5388600465722907, 0.7653987182874702, 0, 0.35184464221017564,
         0.5388600465722907, 0.7653987182874702, 0, 0.35184464221017564, 0.5388600465722907,
         0.7653987182874702, 0, 0.35184464221017564, 0.5388600465722907), .fBest =
         6.193488286944708},
};
/* clang-format on */

const ProblemFamily largerFamily = FAMILY(table);

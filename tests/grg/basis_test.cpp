// The choice of dependent variables and the inverse of their Jacobian, grown by bordering.

#include "grg/grg_test.h"

#include <tuple>

namespace {

using namespace support;

class BasisTest : public Library {};

// Functions 2, 3, ... with their gradients; the first is a group of its own.
struct Choice {
  int32_t n, ld;
  std::vector<Values> gradients;
  Values x = Values(n), lower = Values(n, -1.0), upper = Values(n, 1.0), move = Values(n);
  int32_t nIndep = 77, nDep = 77, nRows = 77, given = static_cast<int32_t>(gradients.size());
  Ints independent = Ints(n), variables = Ints(n), rows = Ints(given);
  Doubles inverse = Doubles(ld * ld), jacobian = Doubles(ld * ld);
  Doubles u = Doubles(n), z = Doubles(n), score = Doubles(n);

  void run(bool twin = false) {
    Values G;
    for (const Values& g : gradients) G.insert(G.end(), g.begin(), g.end());
    Rows list(given + 1), column(given + 1);
    std::iota(list.begin(), list.end(), 2), std::iota(column.begin(), column.end(), 0);
    const int32_t first = std::min(given, 1), second = given - first;
    const auto call = [&](auto routine, auto... work) {
      routine(&first, &list[0], &second, &list[first], &n, x.data(), lower.data(), upper.data(),
              G.data(), column.data(), move.data(), &nIndep, independent, &nDep, variables, &ld,
              &nRows, rows, inverse, jacobian, work...);
    };
    twin ? call(GRSINJ) : call(GRGINJ, u.begin(), z.begin(), score.begin());
  }
  std::string trace(int level) {
    VRK_set_print(level);
    return captured([&] { run(); });
  }
  Rows dependent() { return {variables.begin(), variables.begin() + nDep}; }
  Rows free() { return {independent.begin(), independent.begin() + nIndep}; }
  Rows held() { return {rows.begin(), rows.begin() + nRows}; }
};

TEST_F(BasisTest, Scores) {
  // x in [-1, 3], move, score for a sensitivity of -1e5, with q the distance by 4. The weight at
  // q = 1 shows the widened 0.95; for x = 3 - 3.2, 1 - q falls just below 0.2; a move of 1e-5 is
  // none.
  const double up = std::nextafter(1e-5, 1.0), x08 = 3 - 3.2;
  const Values cases[] = {
      {1, 0, 50000},  {-1, 1, 5000.00119},   {3, -1, 5000.00119},     {-1, -1, 0},
      {0, 1, 75000},  {x08, 1, 80000.00119}, {-0.25, 1, 75312.50119}, {0, 1e-5, 25000},
      {0, up, 75000}, {2, -1e-5, 25000},     {2, -up, 75000},         {3, 0, 0}};
  constexpr int n = 12;
  Choice choice{n, n, {Values(n, -1e5)}, Values(n), Values(n, -1.0), Values(n, 3.0)};
  std::string expected = " F VECTOR (DISTANCE FROM BOUNDS)\n";
  for (int i = 0; i < n; ++i) {
    choice.x[i] = cases[i][0], choice.move[i] = cases[i][1];
    char field[32];
    std::snprintf(field, sizeof field, "%14.5f%s", cases[i][2], i % 6 == 5 ? "\n" : "");
    expected += field;
  }
  choice.lower[n - 1] = choice.upper[n - 1];  // a fixed variable
  EXPECT_EQ(choice.trace(3).substr(0, expected.size()), expected);
  EXPECT_EQ(std::tuple(choice.dependent(), choice.inverse[0]), std::tuple(Rows{6}, -1e-5));
}

TEST_F(BasisTest, OrderRejectionsAndTrace) {
  Choice junk{2, 2, {{0, 1e-7}, {1, 2}}};  // zeroTol itself is no pivot
  EXPECT_EQ(junk.trace(3),
            " F VECTOR (DISTANCE FROM BOUNDS)\n       0.00000   5.00000e-08\n"
            " MDDV AFTER SORT\n         2         1\n"
            "SINGULAR MATRIX\n MDDV AFTER SWAP\n         1         2\n"
            "SINGULAR MATRIX\n MDDV AFTER SWAP\n         2         1\n"
            "JUNK FUNCTION\n MJINV AFTER DELETE\n         3\n"
            " F VECTOR (DISTANCE FROM BOUNDS)\n       1.00000       0.50000\n"
            " MDDV AFTER SORT\n         2         1\n"
            " XJINV\n       0.50000\n MIDV AFTER SUBTRACT\n         1\n");
  EXPECT_EQ(std::tuple(junk.held(), junk.dependent(), junk.free()),
            std::tuple(Rows{3}, Rows{2}, Rows{1}));
  // Equal scores are not exchanged with each other, but a later exchange can reverse them.
  Choice equal{2, 2, {{2, 2}}}, reversed{3, 3, {{2, 2, 4}}};
  EXPECT_EQ(equal.trace(2) + reversed.trace(2), "");
  EXPECT_EQ(std::tuple(equal.dependent(), reversed.variables.values()),
            std::tuple(Rows{1}, (Rows{3, 2, 1})));
  Choice next{3, 2, {{4, 2, 0}, {8, 4, 1}}};
  next.x[2] = 0.96875;  // next to its bound: the second choice for row 3
  EXPECT_EQ(next.trace(2), "SINGULAR MATRIX\n");
  EXPECT_EQ(std::tuple(next.dependent(), next.free()), std::tuple((Rows{1, 3}), Rows{2}));
  Choice dropped{2, 3, {{4, 2}, {8, 4}, {0, 5}, {1, 1}}};  // no candidate is left for row 5
  EXPECT_EQ(dropped.trace(2), "SINGULAR MATRIX\nJUNK FUNCTION\nJUNK FUNCTION\n");
  EXPECT_EQ(std::tuple(dropped.held(), dropped.dependent()),
            std::tuple((Rows{2, 4}), (Rows{1, 2})));
  Choice room{3, 1, {{1, 2, 3}, {3, 1, 1}}};  // the matrices hold no second row
  EXPECT_EQ(room.trace(2), "JUNK FUNCTION\n");
  EXPECT_EQ(room.held(), Rows{2});
  VRK_settings.dblStorageCapacity = 0;  // no rows: the entry settings only
  Choice none{3, 3, {}};
  EXPECT_EQ(none.trace(3), "");
  EXPECT_EQ(std::tuple(none.nRows, none.nDep, none.inverse.untouched()), std::tuple(0, 0, true));
  EXPECT_EQ(std::tuple(none.free(), none.variables.values()),
            std::tuple((Rows{1, 2, 3}), (Rows{1, 2, 3})));
}

TEST_F(BasisTest, RandomBases) {
  std::mt19937 engine(7);
  std::uniform_real_distribution<double> real(-1, 1);
  for (int run = 0; run < 60; ++run) {
    SCOPED_TRACE(run);
    const int32_t n = 1 + run % 12, ld = n + 2;
    std::vector<Values> gradients(1 + (n - 1) * (run / 12) / 4, Values(n));
    for (Values& gradient : gradients)
      for (double& g : gradient) g = real(engine);
    Choice choice{n, ld, gradients}, twin{n, ld, gradients};
    for (int v = 0; v < n; ++v) {
      choice.x[v] = twin.x[v] = 0.9 * real(engine);
      choice.move[v] = twin.move[v] = v % 3 - 1;
    }
    choice.run(), twin.run(true);
    const int32_t k = choice.nDep;
    ASSERT_EQ(std::tuple(choice.given, choice.nRows, twin.nRows), std::tuple(k, k, k));
    Rows rest(n);
    std::iota(rest.begin(), rest.end(), 1);
    for (const int32_t v : choice.dependent()) std::erase(rest, v);
    EXPECT_EQ(std::tuple(choice.free(), twin.free(), choice.nIndep), std::tuple(rest, rest, n - k));
    Values given(ld * ld), w(n), y(n);
    int32_t singular = 7;
    GRGINV(&ld, &k, choice.jacobian, given.data(), &singular, w.data(), y.data());
    for (int at = 0; at < k * ld; ++at) {
      const int i = at % ld, j = at / ld;
      if (i >= k) continue;
      EXPECT_EQ(choice.jacobian[at], gradients[i][choice.variables[j] - 1]);
      double product = 0.0;
      for (int l = 0; l < k; ++l) product += given[i + l * ld] * choice.jacobian[l + j * ld];
      EXPECT_NEAR(product, i == j, 1e-10);
      EXPECT_NEAR(given[at], choice.inverse[at], 1e-10 * (1 + std::fabs(given[at])));
      EXPECT_BITS(choice.inverse[at], twin.inverse[at]);
    }
  }
  // The choice claims 3n + 1, and above it the bordering from order 2 to 3.
  expectClaim(3 * 4 + 1 + 2 * 2 + 1, [] {
    Choice{4, 4, {{1, 2, 3, 4}, {2, 1, 0, 0}, {0, 1, 5, 1}}}.run(true);
  });
}

TEST_F(BasisTest, BorderingAndUpdateByHand) {
  const double o = 55;    // behind the leading dimension, or not yet reached
  const Values cases[] = {// corner, zeroTol, the inverse of (2, 3; 4, corner), its pivot corner - 6
                          {7, 0.99, 3.5, -2, o, -1.5, 1, o},
                          {5, 0.99, -2.5, 2, o, 1.5, -1, o},
                          {7, 1, 0.5, o, o, o, o, o},
                          {5, 1, 0.5, o, o, o, o, o},
                          {6, 1e-7, 0.5, o, o, o, o, o}};
  for (const Values& c : cases) {
    VRK_settings.zeroTol = c[1], VRK_settings.printLevel = 1;
    const Values J{2, 4, o, 3, c[0], o}, start{0.5, o, o, o, o, o};
    Values B = start, K = start, w(2), y(2);
    int32_t singular = 7, failed = 7;
    GRGJIA(by(3), by(1), &c[0], by(4.0), by(3.0), B.data(), &singular, w.data(), y.data());
    EXPECT_EQ(B, Values(c.begin() + 2, c.end()));
    EXPECT_EQ(singular, c[3] == o ? -1 : 0);
    expectClaim(
        3, [&] { GRSJIA(by(3), by(1), &c[0], by(4.0), by(3.0), (K = start).data(), &failed); });
    EXPECT_EQ(std::tuple(K, failed), std::tuple(B, singular));
    VRK_settings.zeroTol = 1e-7;  // pivoting meets other pivots
    const auto invert = [&] {
      GRGINV(by(3), by(2), J.data(), (K = start).data(), &failed, w.data(), y.data());
    };
    EXPECT_EQ(captured(invert), c[0] == 6 ? "ERROR IN GRGIJI, SINGULAR\n" : "");
    EXPECT_EQ(failed, c[0] == 6 ? -1 : 0);
    if (singular) continue;
    expectClaim(5, [&] { GRSINV(by(3), by(2), J.data(), (K = start).data(), &failed); });
    EXPECT_EQ(std::tuple(K, failed), std::tuple(B, 0));
  }
  Values exchange{0, 1, o, 1, 0, o}, same(6, o), work(2);
  int32_t failed = 7;
  GRGINV(by(3), by(2), exchange.data(), same.data(), &failed, work.data(), work.data());
  EXPECT_EQ(std::tuple(same, failed), std::tuple(exchange, 0)) << "rows are interchanged";

  const double s[] = {1, 2}, r[] = {5, 10};  // s's = 5
  const std::string text =
      " UPDATED JACOBIAN\n       0.00000       1.00000\n       0.00000       0.00000\n";
  for (const auto& [zeroTol, level] : {std::pair{5.0, 3}, {4.99, 2}, {4.99, 3}}) {
    VRK_settings.zeroTol = zeroTol, VRK_settings.printLevel = level;
    Values J{1, 2, o, 3, 4, o};
    const auto update = [&] { GRGJUP(by(3), by(2), J.data(), s, r); };
    EXPECT_EQ(captured(update), zeroTol < 5 && level == 3 ? text : "");
    EXPECT_EQ(J, zeroTol < 5 ? (Values{0, 0, o, 1, 0, o}) : (Values{1, 2, o, 3, 4, o}));
  }
}

}  // namespace

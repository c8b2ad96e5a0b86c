// The four print routines, line by line.

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "support/support.h"

using namespace support;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const std::string six =
    "       1.00000       2.00000       3.00000       4.00000       5.00000       6.00000\n";
const std::string twelve =
    six + "       7.00000       8.00000       9.00000      10.00000      11.00000      12.00000\n";
const std::string minusSix =
    "      -1.00000      -2.00000      -3.00000      -4.00000      -5.00000      -6.00000\n";
const std::string minusTwelve =
    minusSix +
    "      -7.00000      -8.00000      -9.00000     -10.00000     -11.00000     -12.00000\n";

TEST(Trace, VectorsAreBrokenIntoLines) {
  const double v[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const struct {
    int32_t n;
    std::string lines;
  } reals[] = {
      {-1, "\n"},  {0, "\n"}, {1, "       1.00000\n"}, {6, six}, {7, six + "       7.00000\n"},
      {12, twelve}};
  for (const auto& c : reals)
    EXPECT_EQ(captured([&] { PRTVD(by(c.n), v, "GRADOB and more", 6); }), " GRADOB\n" + c.lines);

  const int32_t iv[] = {1, -2, 3, 2147483647, 5, 6, 7, 8, -2147483647 - 1};
  const std::string eight =
      "         1        -2         3214748364"
      "7         5         6         7         8\n";
  const struct {
    int32_t n;
    std::string lines;
  } integers[] = {{0, "\n"}, {1, "         1\n"}, {8, eight}, {9, eight + "-2147483648\n"}};
  for (const auto& c : integers)
    EXPECT_EQ(captured([&] { PRTVI(by(c.n), iv, "", 0); }), " \n" + c.lines);
}

TEST(Trace, MatrixRowsOfSeveralLinesAreSetApart) {
  double A[3 * 12];  // two rows, and one below them that nobody prints
  for (int j = 0; j < 12; ++j) {
    A[3 * j] = j + 1;
    A[3 * j + 1] = -(j + 1);
    A[3 * j + 2] = nan;
  }
  const struct {
    int32_t rows, columns;
    std::string lines;
  } cases[] = {
      {0, 7, ""},
      {-1, 1, ""},
      {2, 0, "\n\n"},
      {2, -3, "\n\n"},
      {2, 1, "       1.00000\n      -1.00000\n"},
      {2, 6, six + minusSix},
      {2, 7, six + "       7.00000\n" + minusSix + "      -7.00000\n"},
      {2, 12, twelve + "\n" + minusTwelve + "\n"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(captured([&] { PRTMD(by(3), by(c.rows), by(c.columns), A, "XJINV", 5); }),
              " XJINV\n" + c.lines)
        << c.rows << " by " << c.columns;
}

TEST(Trace, MessagesAreBrokenAfterEightyCharacters) {
  const std::string as(80, 'a');
  const std::string bs(80, 'b');
  const std::string text = as + bs + "cut off";
  const struct {
    int32_t count;
    std::string lines;
  } cases[] = {{-5, "\n"},      {0, "\n"},          {1, "a\n"},
               {80, as + "\n"}, {81, as + "\nb\n"}, {160, as + "\n" + bs + "\n"}};
  for (const auto& c : cases)
    EXPECT_EQ(captured([&] { PRTMES(text.c_str(), by(c.count)); }), c.lines);
  EXPECT_EQ(captured([&] {
              std::printf("host, ");
              PRTMES("library", by(7));
              std::printf("host\n");
            }),
            "host, library\nhost\n");
}

TEST(Trace, NumbersFillTheirField) {
  const struct {
    double value;
    const char* field;
  } cases[] = {{0.0, "0.00000"},
               {-0.0, "-0.00000"},
               {0.1, "0.10000"},
               {-0.1, "-0.10000"},
               {0.09999, "9.99900e-02"},
               {std::nextafter(0.1, 0.0), "1.00000e-01"},
               {123456.789, "123456.78900"},
               {-999999.0, "-999999.00000"},
               {999999.999999, "1000000.00000"},
               {-999999.999999, "-1.00000e+06"},
               {1e6, "1.00000e+06"},
               {-1.25e-300, "-1.25000e-300"},
               {5e-324, "4.94066e-324"},
               {1.7976931348623157e308, "1.79769e+308"},
               {inf, "inf"},
               {-inf, "-inf"},
               {nan, "nan"}};
  for (const auto& c : cases)
    EXPECT_EQ(captured([&] { PRTVD(by(1), &c.value, "", 0); }),
              " \n " + std::string(13 - std::strlen(c.field), ' ') + c.field + "\n");
}

#ifdef _WIN32
bool useDecimalComma() {
  return std::setlocale(LC_NUMERIC, "German") != nullptr;
}
#else
// Made for the occasion, as the system need not have one.
bool useDecimalComma() {
  std::string folder = testing::TempDir() + "tarnix_XXXXXX";
  if (!mkdtemp(folder.data())) return false;
  const std::string make = "cd " + folder +
                           " && printf 'LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\n"
                           "grouping -1\nEND LC_NUMERIC\n' >source"
                           " && localedef -c -i source ./comma >log 2>&1; test -d comma";
  const bool made = std::system(make.c_str()) == 0 && setenv("LOCPATH", folder.c_str(), 1) == 0 &&
                    std::setlocale(LC_NUMERIC, "comma") != nullptr;
  return std::system(("rm -r " + folder).c_str()) == 0 && made;
}
#endif

TEST(Trace, NumbersDoNotFollowTheLocale) {
  if (!useDecimalComma()) GTEST_SKIP() << "no locale with a decimal comma";
  const double v[] = {1234.5, 0.01};
  char host[16];
  std::snprintf(host, sizeof host, "%.1f", v[0]);
  EXPECT_STREQ(host, "1234,5");
  EXPECT_EQ(captured([&] { PRTVD(by(2), v, "", 0); }), " \n    1234.50000   1.00000e-02\n");
  std::setlocale(LC_NUMERIC, "C");
}

}  // namespace

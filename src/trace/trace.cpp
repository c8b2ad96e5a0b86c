#include "trace/trace.h"

#include <algorithm>
#include <cstdio>

#include "state/session.h"

namespace tarnix::core::trace {

namespace {

constexpr int realsPerLine = 6;
constexpr int realWidth = 13;
constexpr int realDecimals = 5;
constexpr int integersPerLine = 8;
constexpr int integerWidth = 10;
constexpr int messageWidth = Line::capacity;

// To the host's sink, or to the C stream, so that the trace interleaves with what the host prints.
void write(std::string_view text) {
  const Hooks& hooks = session().hooks;
  if (hooks.trace == nullptr) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return;
  }
  const SessionKept kept;
  hooks.trace(hooks.traceUser, text.data(), text.size());
}

void writeTitle(std::string_view title) {
  write(" ");
  write(title);
  write("\n");
}

// Up to one line of fields; count 0 writes an empty line.
template <class WriteField>
void writeFields(int count, WriteField writeField) {
  char buffer[128];
  int length = 0;
  for (int k = 0; k < count; ++k) length += writeField(buffer + length, k);
  buffer[length++] = '\n';
  write({buffer, static_cast<std::size_t>(length)});
}

// value(k) for k = 1..count.
template <class ValueAt>
void writeReals(int count, ValueAt value) {
  writeFields(count, [&](char* out, int k) {
    *out = ' ';
    return 1 + formatReal(out + 1, value(k + 1), realWidth, realDecimals);
  });
}

}  // namespace

void vector(std::string_view title, ConstVector v) {
  writeTitle(title);
  int first = 0;
  do {
    const int count = std::clamp(v.size() - first, 0, realsPerLine);
    writeReals(count, [&](int k) { return v(first + k); });
    first += realsPerLine;
  } while (first < v.size());
}

void list(std::string_view title, ConstIndex v) {
  writeTitle(title);
  int first = 0;
  do {
    const int count = std::clamp(v.size() - first, 0, integersPerLine);
    writeFields(count, [&](char* out, int k) {
      return formatInteger(out, v(first + k + 1), integerWidth);
    });
    first += integersPerLine;
  } while (first < v.size());
}

void matrix(std::string_view title, ConstMatrix a) {
  writeTitle(title);
  const int columns = std::max(a.columns(), 0);
  for (int i = 1; i <= a.rows(); ++i) {
    if (columns <= realsPerLine) {
      writeReals(columns, [&](int k) { return a(i, k); });
      continue;
    }
    // Kept: columns that are a multiple of six end with an empty line, which sets the rows apart.
    for (int first = 0; first <= columns / realsPerLine * realsPerLine; first += realsPerLine)
      writeReals(std::min(columns - first, realsPerLine), [&](int k) { return a(i, first + k); });
  }
}

void message(std::string_view text) {
  do {
    const auto piece = text.substr(0, messageWidth);
    write(piece);
    write("\n");
    text.remove_prefix(piece.size());
  } while (!text.empty());
}

}  // namespace tarnix::core::trace

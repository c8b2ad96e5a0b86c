/* A host application: opens the tarnix library at run time, solves published design problems with
 * every method that the library has, and prints the results next to the published minima. */
#define _POSIX_C_SOURCE 200809L /* dlopen, readlink; ignored by Windows */

#include <errno.h>
#include <math.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

#include "problems.h"
#include "tarnix/session.h"
#include "tarnix/statuses.h"

enum { exitDone = 0, exitLibrary = 1, exitUsage = 2 };
enum { sqp, grg, methodCount };
enum { mostFunctions = 400 };

static const char* const methodNames[methodCount] = {"SQP", "GRG"};

/* ---- the library ---- */

typedef int32_t (*Solve)(int32_t maxIter, int32_t n, double* x, const double* lower,
                         const double* upper, int32_t m1, int32_t m2, VRK_analysis cb, void* user,
                         double* f);

typedef struct Library {
  int32_t (*setDefaults)(void);
  void (*setPrint)(int32_t level);
  void (*setDiffMethod)(int32_t method);
  void (*setDiffStep)(double step);
  void (*setTolerance)(double tolerance);
  int32_t (*iterations)(void);
  int32_t (*evaluations)(void);
  Solve solve[methodCount]; /* null: the library does not have this method */
} Library;

static _Noreturn void stop(int exitCode, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  fflush(stdout);
  fputs("design_host: ", stderr);
  vfprintf(stderr, format, arguments);
  fputc('\n', stderr);
  va_end(arguments);
  exit(exitCode);
}

#ifdef _WIN32
#define libraryName "tarnix.dll"
#define libraryFolder "bin"
typedef HMODULE Handle;

static Handle openFile(const char* path) {
  return LoadLibraryA(path);
}
static void copyReason(char* reason, size_t size) {
  snprintf(reason, size, "%s: error %lu", libraryName, (unsigned long)GetLastError());
}
static int copyOwnPath(char* path, size_t size) {
  const DWORD length = GetModuleFileNameA(NULL, path, (DWORD)size);
  if (length == 0 || length == size) return 0;
  for (char* c = path; *c; ++c)
    if (*c == '\\') *c = '/';
  return 1;
}
/* Function pointers of all types have one size. */
static int lookUp(Handle handle, const char* name, void* function) {
  const FARPROC address = GetProcAddress(handle, name);
  memcpy(function, &address, sizeof address);
  return address != NULL;
}
#else
#define libraryName "libtarnix.so.0.1"
#define libraryFolder "lib"
typedef void* Handle;

static Handle openFile(const char* path) {
  return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}
static void copyReason(char* reason, size_t size) {
  snprintf(reason, size, "%s", dlerror());
}
static int copyOwnPath(char* path, size_t size) {
  const ssize_t length = readlink("/proc/self/exe", path, size - 1);
  if (length >= 0) path[length] = '\0';
  return length >= 0;
}
/* ISO C has no cast from an object pointer to a function pointer, hence the copy. */
static int lookUp(Handle handle, const char* name, void* function) {
  void* symbol = dlsym(handle, name);
  memcpy(function, &symbol, sizeof symbol);
  return symbol != NULL;
}
#endif

/* Tries the library in this program's folder, one folder up, and in the folder next to its own. */
static Handle openNearProgram(void) {
  static const char* const places[] = {"", "../", "../" libraryFolder "/"};
  char program[2048], path[sizeof program + 64];
  if (!copyOwnPath(program, sizeof program)) return NULL;
  char* slash = strrchr(program, '/');
  if (!slash) return NULL;
  slash[1] = '\0';
  for (size_t i = 0; i < sizeof places / sizeof places[0]; ++i) {
    snprintf(path, sizeof path, "%s%s%s", program, places[i], libraryName);
    const Handle handle = openFile(path);
    if (handle) return handle;
  }
  return NULL;
}

static void require(Handle handle, const char* name, void* function) {
  if (!lookUp(handle, name, function)) stop(exitLibrary, "the library has no %s", name);
}

static Library openLibrary(const char* path) {
  Handle handle = openFile(path ? path : libraryName);
  if (!handle) {
    char reason[512];
    copyReason(reason, sizeof reason);
    if (!path) handle = openNearProgram();
    if (!handle) stop(exitLibrary, "cannot open the library: %s", reason);
  }
  Library library;
  require(handle, "VRK_setDefaults", &library.setDefaults);
  require(handle, "VRK_set_print", &library.setPrint);
  require(handle, "VRK_set_diffMeth", &library.setDiffMethod);
  require(handle, "VRK_set_diffPert", &library.setDiffStep);
  require(handle, "VRK_set_convTol", &library.setTolerance);
  require(handle, "VRK_get_nIter", &library.iterations);
  require(handle, "VRK_get_nFunEval", &library.evaluations);
  require(handle, "VRK_sqp", &library.solve[sqp]);
  lookUp(handle, "VRK_grg", &library.solve[grg]);
  void (*refine)(tarnix_session*, int32_t); /* GRG solves more with its refinements */
  if (lookUp(handle, "tarnix_session_refine", &refine)) refine(NULL, 1);
  return library;
}

/* ---- what the statuses mean ---- */

typedef struct StatusWord {
  int method, status;
  const char *word, *meaning;
} StatusWord;

#define SQP_ROW(status, name, word, meaning, when, remedy) {sqp, status, word, meaning},
#define GRG_ROW(status, name, word, meaning, when, remedy) {grg, status, word, meaning},
#define EITHER_ROW(status, name, word, meaning, when, remedy) {0, status, word, meaning},
static const StatusWord statusWords[] = {TARNIX_SQP_STATUSES(SQP_ROW) TARNIX_GRG_STATUSES(GRG_ROW)};
enum { statusWordCount = sizeof statusWords / sizeof statusWords[0] };

static const StatusWord* statusWord(int method, int status) {
  static const StatusWord tooMany[] = {TARNIX_COMMON_STATUSES(EITHER_ROW)};
  static const StatusWord unknown = {0, 0, "unknown", "not a documented status"};
  if (status == VRK_TOO_MANY_VARIABLES) return tooMany;
  for (int i = 0; i < statusWordCount; ++i)
    if (statusWords[i].method == method && statusWords[i].status == status) return &statusWords[i];
  return &unknown;
}

/* ---- options ---- */

typedef struct Options {
  const char* library;
  int useMethod[methodCount];
  int methodGiven, all, list, named;
  int32_t printLevel, maxIter;
  int32_t diffMethod; /* 0: the library's default, here and below */
  double diffStep, tolerance;
  const Problem** problems; /* those to solve */
  int count;
} Options;

static void printHelp(void) {
  printf(
      "usage: design_host [option ...] [problem ...]\n"
      "Solves the engineering design problems, or those named, and prints a table of results.\n"
      "A named problem's design variables and constraints follow the table.\n\n"
      "  --all                  solve the whole collection\n"
      "  --list                 list the problems and their sources\n"
      "  --method sqp|grg|both  default: every method that the library has\n"
      "  --print LEVEL          trace of the solves: 0 none (default) to 3 vectors and matrices\n"
      "  --diff-method forward|central\n"
      "  --diff-step STEP       difference step, in units of half the box\n"
      "  --tol TOLERANCE        convergence tolerance, absolute\n"
      "  --max-iter COUNT       iteration limit, default 100\n"
      "  --library PATH         default: $TARNIX_LIBRARY, else %s by the system's rules,\n"
      "                         else near this program\n"
      "  --help\n\n"
      "Exit code: %d done, %d the library cannot be used, %d wrong arguments.\n",
      libraryName, exitDone, exitLibrary, exitUsage);
}

static int32_t integerOption(const char* option, const char* text, long least, long most) {
  char* end;
  errno = 0;
  const long value = strtol(text, &end, 10);
  if (end == text || *end || errno || value < least || value > most)
    stop(exitUsage, "%s requires a whole number from %ld to %ld, not '%s'", option, least, most,
         text);
  return (int32_t)value;
}

static double positiveOption(const char* option, const char* text) {
  char* end;
  const double value = strtod(text, &end);
  if (end == text || *end || !(value > 0) || !isfinite(value))
    stop(exitUsage, "%s requires a positive number, not '%s'", option, text);
  return value;
}

static void methodOption(Options* options, const char* text) {
  const int both = strcmp(text, "both") == 0;
  options->useMethod[sqp] = both || strcmp(text, "sqp") == 0;
  options->useMethod[grg] = both || strcmp(text, "grg") == 0;
  options->methodGiven = 1;
  if (!options->useMethod[sqp] && !options->useMethod[grg])
    stop(exitUsage, "--method requires sqp, grg or both, not '%s'", text);
}

static void diffMethodOption(Options* options, const char* text) {
  const int central = strcmp(text, "central") == 0;
  if (!central && strcmp(text, "forward") != 0)
    stop(exitUsage, "--diff-method requires forward or central, not '%s'", text);
  options->diffMethod = central ? 2 : 1;
}

static const char* given(const char* option, const char* value) {
  if (!value || !*value) stop(exitUsage, "%s requires a value, see --help", option);
  return value;
}

/* Stores an option that takes a value; 0 when there is none of this name. */
static int storeOption(Options* options, const char* name, const char* value) {
  if (strcmp(name, "--method") == 0)
    methodOption(options, given(name, value));
  else if (strcmp(name, "--print") == 0)
    options->printLevel = integerOption(name, given(name, value), 0, 9);
  else if (strcmp(name, "--diff-method") == 0)
    diffMethodOption(options, given(name, value));
  else if (strcmp(name, "--diff-step") == 0)
    options->diffStep = positiveOption(name, given(name, value));
  else if (strcmp(name, "--tol") == 0)
    options->tolerance = positiveOption(name, given(name, value));
  else if (strcmp(name, "--max-iter") == 0)
    options->maxIter = integerOption(name, given(name, value), 0, INT32_MAX);
  else if (strcmp(name, "--library") == 0)
    options->library = given(name, value);
  else
    return 0;
  return 1;
}

static void addProblem(Options* options, const Problem* problem) {
  options->problems[options->count++] = problem;
}

static Options readOptions(int argc, char** argv) {
  Options options = {.library = getenv("TARNIX_LIBRARY"), .maxIter = 100};
  if (options.library && !*options.library) options.library = NULL;
  const size_t most = (size_t)(argc + problemCount());
  options.problems = malloc(most * sizeof *options.problems);
  if (!options.problems) stop(exitLibrary, "out of memory");
  for (int i = 1; i < argc; ++i) {
    const char* argument = argv[i];
    char option[32]; /* what stands before "=", if anything does */
    const char* value = strchr(argument, '=');
    size_t length = strcspn(argument, "=");
    if (length >= sizeof option) length = sizeof option - 1;
    memcpy(option, argument, length);
    option[length] = '\0';
    if (strcmp(argument, "--help") == 0) {
      printHelp();
      exit(exitDone);
    } else if (strcmp(argument, "--all") == 0) {
      options.all = 1;
    } else if (strcmp(argument, "--list") == 0) {
      options.list = 1;
    } else if (storeOption(&options, option, value ? value + 1 : argv[i + 1])) {
      i += value ? 0 : 1;
    } else if (argument[0] == '-') {
      stop(exitUsage, "unknown option '%s', see --help", argument);
    } else if (problemByName(argument)) {
      addProblem(&options, problemByName(argument));
    } else {
      stop(exitUsage, "no problem is called '%s', see --list", argument);
    }
  }
  options.named = options.count > 0;
  if (options.named && options.all) stop(exitUsage, "give either --all or problem names");
  if (!options.named)
    for (int i = 0; i < problemCount(); ++i)
      if (options.all || problemAt(i)->flags & PROBLEM_DESIGN) addProblem(&options, problemAt(i));
  return options;
}

static void listProblems(void) {
  printf("%-21s %3s %3s %4s  %-6s %s\n", "problem", "n", "eq", "ineq", "", "source");
  for (int i = 0; i < problemCount(); ++i) {
    const Problem* p = problemAt(i);
    printf("%-21s %3d %3d %4d  %-6s %s\n", p->name, p->n, p->nEq, p->nIneq,
           p->flags & PROBLEM_DESIGN ? "design" : "", p->source);
  }
}

/* ---- solving ---- */

typedef struct Result {
  int status, iterations, evaluations;
  double objective, violation; /* evaluated again at x */
  double x[VRK_MAX_VARIABLES];
} Result;

typedef struct Row {
  const Problem* problem;
  Result result[methodCount];
} Row;

static Result solveOne(const Library* library, const Options* options, const Problem* p,
                       int method) {
  Result result;
  double f[mostFunctions];
  library->setDefaults();
  library->setPrint(options->printLevel);
  if (options->diffMethod > 0) library->setDiffMethod(options->diffMethod);
  if (options->diffStep > 0) library->setDiffStep(options->diffStep);
  if (options->tolerance > 0) library->setTolerance(options->tolerance);
  if (options->printLevel > 0) printf("---- %s by %s ----\n", p->name, methodNames[method]);
  memcpy(result.x, p->start, (size_t)p->n * sizeof *result.x);
  result.status = library->solve[method](options->maxIter, p->n, result.x, p->lower, p->upper,
                                         p->nEq, p->nIneq, p->evaluate, NULL, f);
  result.iterations = library->iterations();
  result.evaluations = library->evaluations();
  result.violation = problemViolation(p, result.x, &result.objective);
  if (options->printLevel > 0) putchar('\n');
  return result;
}

/* (found - best) / |best|; the difference itself when best is 0. */
static double difference(const Problem* p, double objective) {
  return p->fBest == 0 ? objective : (objective - p->fBest) / fabs(p->fBest);
}

/* ---- the table ---- */

/* Six digits in eleven columns. */
static void printNumber(double value) {
  const double size = fabs(value);
  printf(size > 0 && (size < 1e-3 || size >= 1e6) ? " %11.3e" : " %11.6g", value);
}

static int nameWidth(const Options* options) {
  size_t width = strlen("problem");
  for (int i = 0; i < options->count; ++i) {
    const size_t length = strlen(options->problems[i]->name);
    if (length > width) width = length;
  }
  return (int)width;
}

static void printTable(const Options* options, const Row* rows) {
  const int width = nameWidth(options);
  printf("%-*s %3s %3s %4s %11s", width, "", "", "", "", "published");
  int blanks = 2; /* up to the next method's columns */
  for (int m = 0; m < methodCount; ++m)
    if (options->useMethod[m]) {
      printf("%*s%s", blanks, "", methodNames[m]);
      blanks = 52 - (int)strlen(methodNames[m]);
    }
  printf("\n%-*s %3s %3s %4s %11s", width, "problem", "n", "eq", "ineq", "best");
  for (int m = 0; m < methodCount; ++m)
    if (options->useMethod[m])
      printf("  %-11s %11s %8s %7s %3s %5s", "status", "found", "diff", "viol", "it", "evals");
  putchar('\n');
  for (int i = 0; i < options->count; ++i) {
    const Problem* p = rows[i].problem;
    printf("%-*s %3d %3d %4d", width, p->name, p->n, p->nEq, p->nIneq);
    printNumber(p->fBest);
    for (int m = 0; m < methodCount; ++m) {
      if (!options->useMethod[m]) continue;
      const Result* r = &rows[i].result[m];
      printf("  %-11s", statusWord(m, r->status)->word);
      printNumber(r->objective);
      printf(" %+8.1e %7.1e %3d %5d", difference(p, r->objective), r->violation, r->iterations,
             r->evaluations);
    }
    putchar('\n');
  }
}

static int occurs(const Options* options, const Row* rows, const StatusWord* word) {
  for (int i = 0; i < options->count; ++i)
    if (options->useMethod[word->method] &&
        statusWord(word->method, rows[i].result[word->method].status) == word)
      return 1;
  return 0;
}

static void printFootnotes(const Options* options, const Row* rows) {
  printf(
      "\ndiff: (found - best) / |best|, or found - best when best is 0; viol: largest violation"
      " of a\nconstraint or bound; it, evals: iterations and evaluations.\n");
  for (int m = 0; m < methodCount; ++m) {
    int first = 1;
    for (int i = 0; i < statusWordCount; ++i) {
      const StatusWord* word = &statusWords[i];
      if (word->method != m || !occurs(options, rows, word)) continue;
      if (first) printf("%s status:", methodNames[m]);
      printf("%s %s = %s", first ? "" : ";", word->word, word->meaning);
      first = 0;
    }
    if (!first) printf(".\n");
  }
}

/* ---- one problem in full ---- */

/* "x(7)" and the like, in nine columns. */
static void printLabel(const char* kind, int number) {
  char label[32];
  snprintf(label, sizeof label, "%s(%d)", kind, number);
  printf("  %-9s", label);
}

static void printConstraints(const Options* options, const char* kind, int count, int offset,
                             double values[methodCount][mostFunctions]) {
  for (int i = 0; i < count; ++i) {
    printLabel(kind, i + 1);
    printf("%55s", "");
    for (int m = 0; m < methodCount; ++m)
      if (options->useMethod[m]) printf(" %15.8g", values[m][offset + i]);
    putchar('\n');
  }
}

static void printDesign(const Options* options, const Row* row) {
  const Problem* p = row->problem;
  double values[methodCount][mostFunctions];
  printf("\n%s: %s\n", p->name, p->source);
  for (int m = 0; m < methodCount; ++m) {
    if (!options->useMethod[m]) continue;
    const Result* r = &row->result[m];
    double x[VRK_MAX_VARIABLES];
    memcpy(x, r->x, sizeof x);
    p->evaluate(NULL, x, &values[m][0], &values[m][1], &values[m][1 + p->nEq]);
    printf("  %s ends with status %d, %s. Objective %.10g, published best %.10g.\n", methodNames[m],
           r->status, statusWord(m, r->status)->meaning, r->objective, p->fBest);
  }
  printf("  %-9s %12s %12s %12s %15s", "", "lower", "upper", "start", "published");
  for (int m = 0; m < methodCount; ++m)
    if (options->useMethod[m]) printf(" %15s", methodNames[m]);
  putchar('\n');
  for (int i = 0; i < p->n; ++i) {
    printLabel("x", i + 1);
    printf(" %12.6g %12.6g %12.6g %15.8g", p->lower[i], p->upper[i], p->start[i], p->best[i]);
    for (int m = 0; m < methodCount; ++m)
      if (options->useMethod[m]) printf(" %15.8g", row->result[m].x[i]);
    putchar('\n');
  }
  printConstraints(options, "eq", p->nEq, 1, values);
  printConstraints(options, "ineq", p->nIneq, 1 + p->nEq, values);
}

int main(int argc, char** argv) {
  Options options = readOptions(argc, argv);
  if (options.list) {
    listProblems();
  } else {
    const Library library = openLibrary(options.library);
    if (!options.methodGiven)
      for (int m = 0; m < methodCount; ++m) options.useMethod[m] = library.solve[m] != NULL;
    for (int m = 0; m < methodCount; ++m)
      if (options.useMethod[m] && !library.solve[m])
        stop(exitUsage, "the library does not have the method %s", methodNames[m]);
    Row* rows = malloc((size_t)options.count * sizeof *rows);
    if (!rows) stop(exitLibrary, "out of memory");
    for (int i = 0; i < options.count; ++i) {
      rows[i].problem = options.problems[i];
      for (int m = 0; m < methodCount; ++m)
        if (options.useMethod[m])
          rows[i].result[m] = solveOne(&library, &options, options.problems[i], m);
    }
    printTable(&options, rows);
    printFootnotes(&options, rows);
    if (options.named)
      for (int i = 0; i < options.count; ++i) printDesign(&options, &rows[i]);
    free(rows);
  }
  free(options.problems);
  return exitDone;
}

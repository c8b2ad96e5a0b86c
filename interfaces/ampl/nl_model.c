#include "nl_model.h"

#include <sys/types.h> /* asl.h takes it as known */

#include <ampl-netlib-solvers/asl.h>
#include <ampl-netlib-solvers/getstub.h>
#include <math.h>
#include <setjmp.h>
#include <stdlib.h>
#include <string.h>
#include <tarnix/tarnix.h>

#undef exit /* asl.h names it mainexit_ASL, which is ours, below */

#define asl model->library /* what the library's macros work on */

struct NlModel {
  ASL* library;
  Option_Info info;
  NlOptions* options;
  char version[64];
  Jmp_buf jump;
  int exitStatus;
  char* stub;
  FILE* file;
  double* jacobian; /* nonzeros */
  /* Arguments of the step that runs. */
  char** argv;
  const double* x;
  double *objective, *constraints, *G;
  const char* message;
  double *solution, *multipliers;
};

/* The model whose step runs: where the library's wish to end the program goes. */
static NlModel* running;

void mainexit_ASL(int status) {
  if (running == NULL) exit(status);
  running->exitStatus = status;
  longjmp(running->jump.jb, NL_EXIT);
}

/* Only the library's own frames lie between the jump and here. */
static int guarded(NlModel* model, void (*step)(NlModel*)) {
  const int jumped = setjmp(model->jump.jb);
  if (jumped == 0) {
    running = model;
    err_jmp1 = &model->jump;
    step(model);
  }
  running = NULL;
  if (asl != NULL) err_jmp1 = NULL;
  return jumped;
}

/* ---- options ---- */

static char* methodValue(Option_Info* info, keyword* kw, char* value) {
  static const char* const names[] = {"automatic", "sqp", "grg"};
  const size_t length = strcspn(value, " \t\r\n");
  for (int k = 0; k < 3; ++k)
    if (strlen(names[k]) == length && strncmp(names[k], value, length) == 0) {
      *(int*)kw->info = k;
      return value + length;
    }
  fprintf(Stderr, "method takes automatic, sqp or grg, not \"%.*s\"\n", (int)length, value);
  badopt_ASL(info);
  return value + length;
}

static char* text(const char* words) { /* the library's tables do not say const */
  return (char*)words;
}

/* In alphabetical order, as the library requires. */
static void describeOptions(NlModel* model, keyword* table) {
  NlOptions* o = model->options;
  const keyword all[] = {
      {text("maxeval"), D_val, &o->maxEval, text("Limit of evaluations; 0: none")},
      {text("maxiter"), I_val, &o->maxIter, text("Limit of iterations of every stage (200)")},
      {text("method"), methodValue, &o->method, text("automatic (default), sqp or grg")},
      {text("objno"), I_val, &o->objective, text("Number of the objective (1); 0: none")},
      {text("outlev"), I_val, &o->printLevel, text("Trace, 0 to 3 (0)")},
      {text("target"), D_val, &o->target, text("Objective at which a solve ends")},
      {text("timelimit"), D_val, &o->time, text("Seconds of wall clock; 0: no limit")},
      {text("tolerance"), D_val, &o->tolerance, text("Violation that counts as none (1e-6)")},
      {text("version"), Ver_val, NULL, text("Report the version")},
      {text("wantsol"), WS_val, NULL, WS_desc_ASL},
  };
  memcpy(table, all, sizeof all);
  model->info.keywds = table;
  model->info.n_keywds = (int)(sizeof all / sizeof all[0]);
}

static SufDecl suffixes[] = {
    {(char*)"bound_dual", NULL, ASL_Sufkind_var | ASL_Sufkind_real | ASL_Sufkind_output, 0}};

static void readArguments(NlModel* model) {
  static keyword table[16];
  describeOptions(model, table);
  suf_declare(suffixes, 1);
  model->stub = getstops(model->argv, &model->info);
}

/* ---- reading ---- */

/* Everything that is counted takes two bytes of the file at least. The library believes the counts,
 * allocates for them and then runs through all of it. */
static int fitsTheFile(const NlModel* model) {
  const int counts[] = {n_var, n_con, n_obj, n_lcon, n_cc, nlc,   nlo,  nzc,   nzo,
                        nlvb,  nlvc,  nlvo,  nfunc,  comb, combc, como, comc1, como1};
  const long at = ftell(model->file);
  if (at < 0 || fseek(model->file, 0, SEEK_END) != 0) return 1; /* a pipe */
  const long room = ftell(model->file) / 2;
  fseek(model->file, at, SEEK_SET);
  for (size_t k = 0; k < sizeof counts / sizeof counts[0]; ++k)
    if (counts[k] < 0 || counts[k] > room) return 0;
  return nlvb <= n_var && nlvc <= n_var && nlvo <= n_var && nlc <= n_con && nlo <= n_obj;
}

static void damaged(const NlModel* model) {
  fprintf(Stderr, "%s: %s is damaged: its counts do not fit\n", model->info.sname, filename);
  mainexit_ASL(1);
}

static void readSizes(NlModel* model) {
  return_nofile = 1;
  model->file = jac0dim(model->stub, (fint)strlen(model->stub));
  if (model->file == NULL) {
    fprintf(Stderr, "%s: there is no file %s.nl\n", model->info.sname, model->stub);
    mainexit_ASL(1);
  }
  if (!fitsTheFile(model)) damaged(model);
}

static double* unset(NlModel* model, int count) {
  double* values = (double*)M1alloc(((size_t)count + 1) * sizeof(double));
  for (int i = 0; i < count; ++i) values[i] = NAN;
  return values;
}

/* The library reads a file that breaks off between two parts as one that is complete. */
static int isComplete(NlModel* model) {
  size_t constraintEntries = 0, objectiveEntries = 0;
  for (int i = 0; i < n_var; ++i)
    if (isnan(LUv[i]) || isnan(Uvx[i])) return 0;
  for (int k = 0; k < n_con; ++k) {
    if (isnan(LUrhs[k]) || isnan(Urhsx[k])) return 0;
    for (const cgrad* c = Cgrad[k]; c != NULL; c = c->next, ++constraintEntries)
      if (c->varno < 0 || c->varno >= n_var || c->goff < 0 || c->goff >= nzc) return 0;
  }
  for (int k = 0; k < n_obj; ++k)
    for (const ograd* o = Ograd[k]; o != NULL; o = o->next, ++objectiveEntries)
      if (o->varno < 0 || o->varno >= n_var) return 0;
  return constraintEntries == (size_t)nzc && objectiveEntries == (size_t)nzo;
}

static void readBody(NlModel* model) {
  want_xpi0 = 1;
  LUv = unset(model, n_var);
  Uvx = unset(model, n_var);
  LUrhs = unset(model, n_con);
  Urhsx = unset(model, n_con);
  const int fault = fg_read(model->file, ASL_sep_U_arrays);
  model->file = NULL; /* closed by the library */
  if (fault != 0) mainexit_ASL(1);
  if (!isComplete(model)) {
    fprintf(Stderr, "%s: %s is not complete\n", model->info.sname, filename);
    mainexit_ASL(1);
  }
  model->jacobian = (double*)M1alloc(((size_t)nzc + 1) * sizeof(double));
  if (model->options->objective > n_obj) model->options->objective = n_obj;
  obj_no = model->options->objective - 1;
}

NlModel* nl_create(NlOptions* options) {
  NlModel* model = (NlModel*)calloc(1, sizeof *model);
  if (model == NULL) return NULL;
  model->options = options;
  asl = ASL_alloc(ASL_read_fg);
  return model;
}

void nl_destroy(NlModel* model) {
  if (model == NULL) return;
  if (model->file != NULL) fclose(model->file);
  ASL_free(&asl);
  free(model);
}

int nl_arguments(NlModel* model, char** argv, const char* banner) {
  snprintf(model->version, sizeof model->version, "%s", banner);
  model->info.sname = text("tarnix-ampl");
  model->info.bsname = model->version;
  model->info.opname = text("tarnix_options");
  model->info.version = model->version;
  model->argv = argv;
  const int end = guarded(model, readArguments);
  if (end == NL_DONE && model->info.n_badopts > 0) {
    model->exitStatus = 1;
    return NL_EXIT;
  }
  return end;
}

int nl_sizes(NlModel* model) {
  return guarded(model, readSizes);
}
int nl_read(NlModel* model) {
  return guarded(model, readBody);
}
int nl_exit_status(const NlModel* model) {
  return model->exitStatus;
}
int nl_called_by_ampl(const NlModel* model) {
  return amplflag;
}

const char* nl_refusal(const NlModel* model, int* code) {
  *code = 510;
  if (nbv + niv + nlvbi + nlvci + nlvoi > 0) return "integer variables cannot be solved for";
  *code = 511;
  if (n_cc > 0) return "complementarity conditions cannot be solved for";
  *code = 512;
  if (n_lcon > 0) return "logical constraints cannot be solved for";
  *code = 520;
  if (n_var > VRK_MAX_VARIABLES) return "at most 100 variables can be solved for";
  return NULL;
}

/* ---- the problem ---- */

int nl_variables(const NlModel* model) {
  return n_var;
}
int nl_constraints(const NlModel* model) {
  return n_con;
}
int nl_has_objective(const NlModel* model) {
  return model->options->objective > 0;
}
int nl_maximizes(const NlModel* model) {
  return nl_has_objective(model) && objtype[obj_no] != 0;
}
const char* nl_variable_name(NlModel* model, int i) {
  return var_name(i);
}
const char* nl_constraint_name(NlModel* model, int i) {
  return con_name(i);
}

/* Modeling languages write large numbers where they mean none. */
static double unlimited(double bound) {
  return fabs(bound) < 1e20 ? bound : copysign(INFINITY, bound);
}

void nl_variable(const NlModel* model, int i, double* start, double* lower, double* upper) {
  *start = X0 != NULL ? X0[i] : 0;
  *lower = unlimited(LUv[i]);
  *upper = unlimited(Uvx[i]);
}

void nl_constraint(const NlModel* model, int i, double* lower, double* upper) {
  *lower = unlimited(LUrhs[i]);
  *upper = unlimited(Urhsx[i]);
}

/* The library marks an expression without a value in its last argument when that comes as 0. */
static void findObjective(NlModel* model) {
  fint fault = 0;
  const double value = objval((int)obj_no, (double*)model->x, &fault);
  if (fault == 0) *model->objective = value;
}

static void findConstraint(NlModel* model, int i) {
  fint fault = 0;
  const double value = conival(i, (double*)model->x, &fault);
  model->constraints[i] = fault == 0 ? value : NAN;
}

static void findConstraints(NlModel* model) {
  fint fault = 0;
  conval((double*)model->x, model->constraints, &fault);
  if (fault == 0) return;
  for (int i = 0; i < n_con; ++i) findConstraint(model, i);
}

void nl_values(NlModel* model, const double* x, double* objective, double* constraints) {
  model->x = x;
  model->objective = objective;
  model->constraints = constraints;
  *objective = nl_has_objective(model) ? NAN : 0;
  if (nl_has_objective(model)) guarded(model, findObjective);
  for (int i = 0; i < n_con; ++i) constraints[i] = NAN;
  if (n_con > 0) guarded(model, findConstraints);
}

static void findObjectiveGradient(NlModel* model) {
  fint fault = 0;
  objgrd((int)obj_no, (double*)model->x, model->G, &fault);
  for (int i = 0; i < n_var && fault != 0; ++i) model->G[i] = NAN;
}

static void findConstraintGradients(NlModel* model) {
  fint fault = 0;
  jacval((double*)model->x, model->jacobian, &fault);
  if (fault != 0) return;
  for (int k = 0; k < n_con; ++k) {
    double* g = model->G + (size_t)(k + 1) * (size_t)n_var;
    for (int i = 0; i < n_var; ++i) g[i] = 0;
    for (const cgrad* c = Cgrad[k]; c != NULL; c = c->next) g[c->varno] = model->jacobian[c->goff];
  }
}

void nl_gradients(NlModel* model, const double* x, double* G) {
  model->x = x;
  model->G = G;
  if (nl_has_objective(model))
    guarded(model, findObjectiveGradient);
  else
    memset(G, 0, (size_t)n_var * sizeof *G);
  if (n_con > 0) guarded(model, findConstraintGradients);
}

/* ---- the answer ---- */

static void writeSolution(NlModel* model) {
  write_sol(text(model->message), model->solution, model->multipliers, &model->info);
}

int nl_write(NlModel* model, int code, const char* message, double* x, double* y,
             double* boundDual) {
  solve_result_num = code;
  model->message = message;
  model->solution = x;
  model->multipliers = y;
  if (boundDual != NULL) suf_rput("bound_dual", ASL_Sufkind_var, boundDual);
  return guarded(model, writeSolution);
}

/* A problem in a .nl file, through the AMPL solver library. That library ends a program, or jumps,
 * where it finds a fault; nothing of that leaves the functions here. */
#ifndef TARNIX_AMPL_NL_MODEL_H
#define TARNIX_AMPL_NL_MODEL_H

#ifdef __cplusplus
extern "C" {
#endif

/* What the command line and the variable tarnix_options set. */
typedef struct NlOptions {
  int method;     /* 0 automatic, 1 sqp, 2 grg */
  int maxIter;    /* of every stage */
  double maxEval; /* 0: no limit */
  int objective;  /* number of the objective, from 1 on; 0: none */
  int printLevel; /* of the trace */
  double target;  /* NaN: none */
  double time;    /* seconds, 0: no limit */
  double tolerance;
} NlOptions;

typedef struct NlModel NlModel;

/* How a step ended. */
enum NlEnd {
  NL_DONE,
  NL_FAULT, /* the library found one, and has written about it to standard error */
  NL_EXIT   /* the library asked to end the program: nl_exit_status */
};

NlModel* nl_create(NlOptions* options); /* null when there is no memory */
void nl_destroy(NlModel* model);

/* Reads arguments and options, and finds the stub. */
int nl_arguments(NlModel* model, char** argv, const char* banner);
/* Reads the sizes; nl_refusal then says whether it is of a kind that can be solved. */
int nl_sizes(NlModel* model);
/* Reads everything else. */
int nl_read(NlModel* model);
int nl_exit_status(const NlModel* model);
int nl_called_by_ampl(const NlModel* model);

/* What is in the problem that cannot be solved, and the result code that says so; null: nothing. */
const char* nl_refusal(const NlModel* model, int* code);

int nl_variables(const NlModel* model);
int nl_constraints(const NlModel* model);
int nl_has_objective(const NlModel* model);
int nl_maximizes(const NlModel* model);
/* Valid until the next call. */
const char* nl_variable_name(NlModel* model, int i);
const char* nl_constraint_name(NlModel* model, int i);
/* Bounds are infinite where there is none. */
void nl_variable(const NlModel* model, int i, double* start, double* lower, double* upper);
void nl_constraint(const NlModel* model, int i, double* lower, double* upper);

/* Objective (0 when there is none) and constraints at x; NaN where the expressions have no value.
 */
void nl_values(NlModel* model, const double* x, double* objective, double* constraints);
/* Their gradients, G[k * variables + i] of function k, the objective first. What cannot be had is
 * left as it is. */
void nl_gradients(NlModel* model, const double* x, double* G);

/* Writes the .sol file, or the message to standard output. x, y (multipliers of the constraints)
 * and boundDual (of the variables' bounds) may be null. */
int nl_write(NlModel* model, int code, const char* message, double* x, double* y,
             double* boundDual);

#ifdef __cplusplus
}
#endif

#endif

%TARNIX_FMINCON  Minimize under linear and nonlinear constraints and bounds.
%  [x, fval, exitflag, output, lambda, grad] = ...
%      tarnix_fmincon (fun, x0, A, b, Aeq, beq, lb, ub, nonlcon, options)
%  [...] = tarnix_fmincon (problem)
%  minimizes fun (x) from x0 under A*x <= b, Aeq*x = beq, lb <= x <= ub and
%  [c, ceq] = nonlcon (x) with c <= 0, ceq = 0. Arguments from A on are optional or may be empty; the
%  struct has the fields objective, x0, Aineq, bineq, Aeq, beq, lb, ub, nonlcon, options.
%
%  options is a struct, or what optimset makes: TolFun, TolCon, MaxIter, MaxFunEvals, GradObj,
%  GradConstr, Display (off, final, iter), OutputFcn, FinDiffType, ObjectiveLimit; of its own
%  Algorithm (automatic, sqp, grg), MaxTime, DifferenceStep, Accuracy, Effort,
%  HonorBounds, PrintLevel.
%
%  exitflag: 1 solved, 2 feasible but not known to be optimal, 0 limit of iterations or evaluations,
%  -1 stopped, -2 no feasible point found, -3 unbounded. lambda has the fields lower, upper,
%  ineqlin, eqlin, ineqnonlin, eqnonlin.
%
%  See also tarnix_solve.

function [x, fval, exitflag, output, lambda, grad] = tarnix_fmincon (fun, varargin)
  if (nargin == 1 && isstruct (fun))
    [fun, rest] = of_struct (fun);
  elseif (nargin >= 2 && nargin <= 10)
    rest = [varargin, cell(1, 10 - nargin)];
  else
    error ('tarnix:arguments', 'tarnix_fmincon: requires a function and a start, or a struct');
  end
  [x0, A, b, Aeq, beq, lb, ub, nonlcon, options] = rest{:};
  fun = handle (fun, 'fun');
  if (~isempty (nonlcon))
    nonlcon = handle (nonlcon, 'nonlcon');
  end
  if (isempty (options))
    options = struct ();
  end
  n = numel (x0);
  check_linear (A, b, n, 'A', 'b');
  check_linear (Aeq, beq, n, 'Aeq', 'beq');

  linear = struct ('A', reshape (full (A), [], n), 'b', reshape (b, [], 1), ...
                   'Aeq', reshape (full (Aeq), [], n), 'beq', reshape (beq, [], 1));
  problem = struct ('x0', x0, 'lb', lb, 'ub', ub, 'options', options);
  problem.evaluate = @(x) evaluate_all (fun, nonlcon, linear, x);
  given = [switched(options, 'GradObj', 'SpecifyObjectiveGradient'), ...
           switched(options, 'GradConstr', 'SpecifyConstraintGradient')];
  if (any (given))
    problem.gradient = @(x) gradients_all (fun, nonlcon, linear, given, x);
  end
  [x, fval, exitflag, output, lambda, grad] = tarnix_solve (problem);

  % Linear rows come first.
  k = size (linear.A, 1);
  lambda.ineqlin = lambda.ineqnonlin(1:k);
  lambda.ineqnonlin = lambda.ineqnonlin(k+1:end);
  k = size (linear.Aeq, 1);
  lambda.eqlin = lambda.eqnonlin(1:k);
  lambda.eqnonlin = lambda.eqnonlin(k+1:end);
end

function [fun, rest] = of_struct (s)
  names = {'x0', 'Aineq', 'bineq', 'Aeq', 'beq', 'lb', 'ub', 'nonlcon', 'options'};
  if (~isfield (s, 'objective') || ~isfield (s, 'x0'))
    error ('tarnix:arguments', 'tarnix_fmincon: the struct requires the fields objective and x0');
  end
  fun = s.objective;
  rest = cell (1, 9);
  for k = 1:9
    if (isfield (s, names{k}))
      rest{k} = s.(names{k});
    end
  end
end

function f = handle (f, name)
  if (ischar (f))
    f = str2func (f);
  elseif (~isa (f, 'function_handle'))
    error ('tarnix:arguments', 'tarnix_fmincon: %s must be a function', name);
  end
end

function check_linear (A, b, n, nameA, nameB)
  if (~isempty (A) && size (A, 2) ~= n)
    error ('tarnix:arguments', 'tarnix_fmincon: %s has %d columns for %d variables', nameA, ...
           size (A, 2), n);
  end
  if (size (A, 1) ~= numel (b))
    error ('tarnix:arguments', 'tarnix_fmincon: %s has %d rows and %s %d elements', nameA, ...
           size (A, 1), nameB, numel (b));
  end
end

function on = switched (options, varargin)
  on = false;
  for k = 1:numel (varargin)
    if (isfield (options, varargin{k}))
      value = options.(varargin{k});
      on = on || (ischar (value) && strcmpi (value, 'on')) || (~ischar (value) && any (value));
    end
  end
end

function r = evaluate_all (fun, nonlcon, linear, x)
  r.f = fun (x);
  c = [];
  ceq = [];
  if (~isempty (nonlcon))
    [c, ceq] = nonlcon (x);
  end
  r.c = [linear.A * x(:) - linear.b; c(:)];
  r.ceq = [linear.Aeq * x(:) - linear.beq; ceq(:)];
end

function g = gradients_all (fun, nonlcon, linear, given, x)
  g = struct ();
  if (given(1))
    [~, g.f] = fun (x);
  end
  if (isempty (nonlcon))
    g.c = linear.A';
    g.ceq = linear.Aeq';
  elseif (given(2))
    [~, ~, dc, dceq] = nonlcon (x);
    g.c = [linear.A', reshape(dc, numel (x), [])];
    g.ceq = [linear.Aeq', reshape(dceq, numel (x), [])];
  end
end

%TARNIX_SOLVE  Minimize where one evaluation gives objective and constraints.
%  [x, fval, exitflag, output, lambda, grad] = tarnix_solve (problem)
%  minimizes f (x) under c (x) <= 0, ceq (x) = 0 and bounds. The fields of problem are
%
%    evaluate   r = evaluate (x) gives a struct with the fields f, c and ceq, the last two absent
%               or empty where there are none; a number will do without constraints
%    x0         start; x has its shape
%    lb, ub     bounds; absent, empty or infinite where there are none
%    gradient   may be absent; g = gradient (x) gives a struct with the derivatives f (n),
%               c (n, number of c) and ceq; what is absent or NaN is found by differences
%    options    a struct as for tarnix_fmincon
%
%  The results are those of tarnix_fmincon; lambda has the fields lower, upper, ineqnonlin and
%  eqnonlin.
%
%  See also tarnix_fmincon.

function [x, fval, exitflag, output, lambda, grad] = tarnix_solve (problem)
  if (nargin ~= 1 || ~isstruct (problem) || ~isfield (problem, 'evaluate') ...
      || ~isfield (problem, 'x0'))
    error ('tarnix:arguments', 'tarnix_solve: requires a struct with the fields evaluate and x0');
  end
  x0 = problem.x0;
  if (~isnumeric (x0) || ~isreal (x0) || isempty (x0))
    error ('tarnix:arguments', 'tarnix_solve: x0 must be a real array that is not empty');
  end
  x0 = double (x0);
  n = numel (x0);
  lower = bounds (problem, 'lb', -Inf, n);
  upper = bounds (problem, 'ub', Inf, n);
  options = read_options (field (problem, 'options', struct ()));

  % The number of constraints is known only from an evaluation; within the bounds, as all others.
  point = reshape (min (max (x0(:), lower), upper), size (x0));
  [~, sizes] = values_of (problem.evaluate (point), []);
  evaluate = @(x) guarded (@() values_of (problem.evaluate (reshape (x, size (x0))), sizes));
  gradient = [];
  if (isfield (problem, 'gradient') && ~isempty (problem.gradient))
    gradient = @(x) guarded (@() slopes_of (problem.gradient (reshape (x, size (x0))), n, sizes));
  end
  progress = [];
  if (strcmp (options.display, 'iter') || isfield (options, 'OutputFcn'))
    show = @(varargin) report (options, size (x0), varargin{:});
    progress = @(varargin) guarded (@() show (varargin{:}));
  end

  limits = [[-Inf(sizes(1), 1); zeros(sizes(2), 1)], zeros(sum (sizes), 1)];
  [r, failure] = tarnix_mex (double (x0(:)), lower, upper, limits, names (n, sizes), options, ...
                             evaluate, gradient, progress);
  if (~isempty (failure))
    rethrow (failure);
  end
  x = reshape (r.x, size (x0));
  fval = r.values(1);
  exitflag = exit_flag (r);
  output = struct ('iterations', r.iterations, 'funcCount', r.evaluations + 1, ...
                   'constrviolation', r.violation, 'firstorderopt', r.optimality, ...
                   'algorithm', r.method, 'status', r.status, 'message', r.message, ...
                   'advice', r.advice, 'noise', r.noise, ...
                   'differencestep', r.differenceStep);
  output.conflict = r.conflict;
  lambda = multipliers (r.multipliers, n, sizes);
  grad = r.gradient;
  if (any (strcmp (options.display, {'final', 'iter'})))
    fprintf ('%s\n', r.advice);
  end
end

function value = field (s, name, default)
  value = default;
  if (isfield (s, name) && ~isempty (s.(name)))
    value = s.(name);
  end
end

function b = bounds (problem, name, default, n)
  b = field (problem, name, default);
  b = double (b(:));
  if (isscalar (b))
    b = repmat (b, n, 1);
  elseif (numel (b) ~= n)
    error ('tarnix:arguments', 'tarnix_solve: %s has %d elements for %d variables', name, ...
           numel (b), n);
  end
end

% The names of the functions and variables, as messages have them.
function list = names (n, sizes)
  list = [arrayfun(@(i) sprintf ('x(%d)', i), 1:n, 'UniformOutput', false), {'f'}, ...
          arrayfun(@(i) sprintf ('c(%d)', i), 1:sizes(1), 'UniformOutput', false), ...
          arrayfun(@(i) sprintf ('ceq(%d)', i), 1:sizes(2), 'UniformOutput', false)];
end

% A function's result, behind the error that it made, [] when there is none.
function [failure, value] = guarded (f)
  failure = [];
  value = [];
  try
    value = f ();
  catch e
    failure = struct ('message', e.message, 'identifier', e.identifier, 'stack', e.stack);
  end
end

% Objective, inequalities and equalities as one column; sizes are the numbers of the last two.
function [v, sizes] = values_of (r, expected)
  if (~isstruct (r))
    r = struct ('f', r);
  end
  if (~isfield (r, 'f') || ~isscalar (r.f) || ~isnumeric (r.f) || ~isreal (r.f))
    error ('tarnix:values', 'tarnix: the objective must be a real number');
  end
  c = [];
  ceq = [];
  if (isfield (r, 'c'))
    c = r.c;
  end
  if (isfield (r, 'ceq'))
    ceq = r.ceq;
  end
  if (~isreal (c) || ~isreal (ceq))
    error ('tarnix:values', 'tarnix: constraints must be real numbers');
  end
  sizes = [numel(c), numel(ceq)];
  if (~isempty (expected) && any (sizes ~= expected))
    error ('tarnix:values', ...
           'tarnix: %d inequalities and %d equalities, at the start there were %d and %d', ...
           sizes(1), sizes(2), expected(1), expected(2));
  end
  v = double ([r.f; c(:); ceq(:)]);
end

function G = slopes_of (g, n, sizes)
  G = NaN (n, 1 + sum (sizes));
  places = {'f', 1, 1; 'c', 2, sizes(1); 'ceq', 2 + sizes(1), sizes(2)};
  for k = 1:3
    [name, from, count] = places{k,:};
    if (isfield (g, name) && ~isempty (g.(name)))
      if (numel (g.(name)) ~= n * count)
        error ('tarnix:values', 'tarnix: the derivatives %s must be %d by %d', name, n, count);
      end
      G(:, from:from + count - 1) = reshape (g.(name), n, count);
    end
  end
end

% Layer's options from those of the family of fmincon.
function o = read_options (given)
  if (~isstruct (given))
    error ('tarnix:arguments', 'tarnix_solve: options must be a struct');
  end
  table = {'TolFun', 'tolerance'; 'TolCon', 'tolerance'; 'ConstraintTolerance', 'tolerance'; ...
           'MaxIter', 'maxIterations'; 'MaxIterations', 'maxIterations'; ...
           'MaxFunEvals', 'maxEvaluations'; 'MaxFunctionEvaluations', 'maxEvaluations'; ...
           'MaxTime', 'maxTime'; 'ObjectiveLimit', 'target'; 'OutputFcn', 'OutputFcn'; ...
           'DifferenceStep', 'differenceStep'; 'HonorBounds', 'keepInside'; ...
           'Accuracy', 'accuracy'; 'Effort', 'effort'; 'PrintLevel', 'printLevel'};
  o = struct ('tolerance', 1e-6);
  for k = 1:size (table, 1)
    value = field (given, table{k,1}, []);
    if (ischar (value))
      error ('tarnix:arguments', 'tarnix_solve: option %s must not be text', table{k,1});
    end
    if (~isempty (value))
      o.(table{k,2}) = value;
    end
  end
  o.method = word (given, 'Algorithm', 'automatic', {'automatic', 'sqp', 'grg'});
  types = {'forward', 'central'};
  type = word (given, 'FinDiffType', 'forward', types);
  type = word (given, 'FiniteDifferenceType', type, types);
  o.central = strcmp (type, 'central');
  o.display = word (given, 'Display', 'off', {'off', 'none', 'final', 'iter'});
end

function w = word (given, name, default, allowed)
  w = field (given, name, default);
  if (~ischar (w) || ~any (strcmpi (w, allowed)))
    error ('tarnix:arguments', 'tarnix_solve: option %s must be one of %s', name, ...
           strjoin (allowed, ', '));
  end
  w = lower (w);
end

function stop = report (options, shape, iteration, evaluations, f, violation, x)
  stop = false;
  if (isempty (x))
    return;
  end
  if (strcmp (options.display, 'iter'))
    fprintf ('%6d %8d %16.8g %12.3g\n', iteration, evaluations, f, violation);
  end
  if (isfield (options, 'OutputFcn'))
    state = struct ('iteration', iteration, 'funccount', evaluations, 'fval', f, ...
                    'constrviolation', violation);
    phase = 'iter';
    if (iteration == 0)
      phase = 'init';
    end
    stop = options.OutputFcn (reshape (x, shape), state, phase);
  end
end

function flag = exit_flag (r)
  if (r.success)
    flag = 1;
  elseif (any (strcmp (r.reason, {'stopped', 'time limit'})))
    flag = -1;
  elseif (any (strcmp (r.reason, {'iteration limit', 'evaluation limit'})))
    flag = 0;
  elseif (strcmp (r.reason, 'unbounded'))
    flag = -3;
  elseif (r.feasible)
    flag = 2;
  else
    flag = -2;
  end
end

% Signs of that family: the gradient of f + lambda' c vanishes, and none of an inequality is
% negative. The layer gives the change of f when a limit is raised.
function lambda = multipliers (all, n, sizes)
  at = 2 * n + sizes(1);
  lambda = struct ('lower', all(1:n), 'upper', -all(n+1:2*n), ...
                   'ineqnonlin', -all(2*n+1:at), 'eqnonlin', -all(at+1:end));
end

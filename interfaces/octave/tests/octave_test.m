% Tests of tarnix_fmincon and tarnix_solve; the path is set by the caller.
1;

function problem = collected (name, method)
  p = collection_mex ('problem', name);
  problem = struct ('evaluate', @(x) collection_mex ('evaluate', name, x), 'x0', p.start, ...
                    'lb', p.lower, 'ub', p.upper, 'options', struct ('Algorithm', method));
end

% The bits of the C++ layer on the design problems, and the published optima.
function designs ()
  names = collection_mex ('designs');
  solved = 0;
  for k = 1:numel (names)
    p = collection_mex ('problem', names{k});
    for method = {'automatic', 'sqp', 'grg'}
      collection_mex ('count');
      [x, f, flag, out] = tarnix_solve (collected (names{k}, method{1}));
      assert (collection_mex ('count'), out.funcCount);
      assert (isequal (x, collection_mex ('solve', names{k}, method{1})), names{k});
      right = abs (f - p.fBest) <= 1e-3 * max (1, abs (p.fBest));
      solved += strcmp (method{1}, 'automatic') && flag == 1 && right;
    end
  end
  printf ('%d of %d design problems solved\n', solved, numel (names));
  assert (numel (names) >= 17);
  assert (solved >= 0.85 * numel (names));
end

% min (x1 - 2)^2 + (x2 - 1)^2 under x1 - 2 x2 = -1, x1^2/4 + x2^2 <= 1: its optimum is published.
function [c, ceq] = ellipse (x)
  c = x(1)^2 / 4 + x(2)^2 - 1;
  ceq = [];
end

function [f, g] = distance (x)
  f = (x(1) - 2)^2 + (x(2) - 1)^2;
  g = [2 * (x(1) - 2); 2 * (x(2) - 1)];
end

function conventions ()
  best = [(sqrt(7) - 1) / 2; (sqrt(7) + 1) / 4];
  [x, f, flag, out, lambda, grad] = tarnix_fmincon (@distance, [0; 0], [], [], [1, -2], -1, ...
                                                    [], [], @ellipse);
  assert (x, best, 1e-5);
  assert (flag, 1);
  assert (f, 9 - 2.875 * sqrt (7), 1e-5);
  assert (grad, [2 * (best(1) - 2); 2 * (best(2) - 1)], 2e-3);
  slopes = [best(1) / 2; 2 * best(2)];
  assert (lambda.ineqnonlin > 0);
  assert (norm (grad + lambda.eqlin * [1; -2] + lambda.ineqnonlin * slopes) < 5e-3);
  assert (out.constrviolation <= 1e-6);

  % a row vector stays one; linear rows and bounds have their multipliers
  [x, ~, flag, ~, lambda] = tarnix_fmincon ('sum_of_squares', [0, 0], [1, 1], 2, [], [], [0, 0], ...
                                            [3, 0.4]);
  assert (x, [1.6, 0.4], 1e-4);
  assert (flag, 1);
  assert (lambda.ineqlin, 0.8, 5e-3);
  assert (lambda.upper, [0; 0.4], 1e-2);
  assert (lambda.lower, [0; 0]);

  % the derivatives of the host make differences needless
  options = struct ('GradObj', 'on');
  [~, ~, ~, plain] = tarnix_fmincon (@distance, [5; 5], [1, 1], 2);
  [x, ~, flag, given] = tarnix_fmincon (@distance, [5; 5], [1, 1], 2, [], [], [], [], [], options);
  assert (x, [1.5; 0.5], 1e-4);
  assert (given.funcCount < plain.funcCount);

  % the struct of the family, and optimset
  s = struct ('objective', @distance, 'x0', [0; 0], 'lb', [0; 0], 'ub', [1; 1], ...
              'options', optimset ('TolFun', 1e-8, 'MaxIter', 50));
  assert (tarnix_fmincon (s), [1; 1], 1e-4);
end

function f = sum_of_squares (x)
  f = distance (x);
end

function flags ()
  [~, ~, flag] = tarnix_fmincon (@(x) x, 1, [], [], [], [], [], [], @(x) deal (x^2 + 1, []));
  assert (flag, -2);
  both = @(x) deal ([x(1) + x(2) - 1; 3 - x(1) - x(2); x(1) - 9], []);
  [~, ~, flag, out] = tarnix_fmincon (@distance, [1; 1], [], [], [], [], [0; 0], [2; 2], both);
  assert (flag, -2);
  assert (out.conflict, {'c(1)', 'c(2)'});

  rough = @(x) (sum ((x - 0.3) .^ 2) + 1) * (1 + 1e-5 * sin (1e9 * sum (x .* [1.37; 2.91])));
  unit = {[], [], [], [], [0; 0], [1; 1], []};
  [x, ~, ~, out] = tarnix_fmincon (rough, [0.9; 0.1], unit{:});
  assert (x, [0.3; 0.3], 0.05);
  assert (out.noise > 1e-6 && out.noise < 1e-4 && out.differencestep > 1e-3);
  [~, ~, ~, out] = tarnix_fmincon (rough, [0.9; 0.1], unit{:}, struct ('Accuracy', 1e-5));
  assert (out.noise, 1e-5);
  [~, ~, flag] = tarnix_fmincon (@(x) x, 1);
  assert (flag, -3);
  [~, ~, flag] = tarnix_fmincon (@distance, [9; 9], [], [], [], [], [], [], [], ...
                                 struct ('MaxFunEvals', 2));
  assert (flag, 0);
  stop = @(x, state, phase) state.iteration >= 1;
  [~, ~, flag, out] = tarnix_fmincon (@(x) 100 * (x(2) - x(1)^2)^2 + (1 - x(1))^2, [-1.2; 1], ...
                                      [], [], [], [], [], [], [], struct ('OutputFcn', stop));
  assert (flag, -1);
  assert (out.iterations <= 2);
end

function expect_error (call, identifier, words)
  try
    call ();
  catch e
    if (~strcmp (e.identifier, identifier) || isempty (strfind (e.message, words)))
      error ('expected %s "%s", got %s "%s"', identifier, words, e.identifier, e.message);
    end
    return;
  end
  error ('no error with "%s"', words);
end

function r = later (x)
  persistent calls = 0;
  calls += 1;
  r = struct ('f', x(1), 'c', ones (1 + (calls < 3), 1));
end

function y = boom (x)
  if (x ~= 1)
    error ('host:boom', 'no mesh at %.1f', x);
  end
  y = x;
end

function errors ()
  f = @distance;
  a = 'tarnix:arguments';
  with = @(options) tarnix_fmincon (f, [0; 0], [], [], [], [], [], [], [], options);
  expect_error (@() tarnix_fmincon (f), a, 'requires a function and a start');
  expect_error (@() tarnix_fmincon (3, [0; 0]), a, 'fun must be a function');
  expect_error (@() tarnix_fmincon (f, []), a, 'x0 must be a real array');
  expect_error (@() tarnix_fmincon (f, [0; 0], [1, 2, 3], 1), a, 'A has 3 columns for 2 variables');
  expect_error (@() tarnix_fmincon (f, [0; 0], [1, 2], [1; 2]), a, 'A has 1 rows and b 2 elements');
  expect_error (@() tarnix_fmincon (f, [0; 0], [], [], [], [], [1; 2; 3]), a, ...
                'lb has 3 elements for 2 variables');
  expect_error (@() with (7), a, 'must be a struct');
  expect_error (@() with (struct ('Algorithm', 'simplex')), a, 'one of automatic, sqp, grg');
  expect_error (@() with (struct ('TolCon', 'small')), a, 'TolCon must not be text');
  expect_error (@() with (struct ('TolCon', -1)), 'tarnix:invalid', 'finite and positive');
  expect_error (@() tarnix_fmincon (f, [0; 0], [], [], [], [], [3; 0], [1; 1]), 'tarnix:invalid', ...
                'crossed bounds: lower 3, upper 1');
  expect_error (@() tarnix_fmincon (@(x) sum (x), ones (101, 1)), 'tarnix:invalid', 'at most 100');
  expect_error (@() tarnix_fmincon (@(x) 'ab', 0), 'tarnix:values', 'must be a real number');
  expect_error (@() tarnix_solve (struct ('evaluate', @later, 'x0', 1)), 'tarnix:values', ...
                'at the start there were 2 and 0');
  % errors of the callback arrive with their own identifier, from every depth
  expect_error (@() tarnix_fmincon (@boom, 1), 'host:boom', 'no mesh at ');
  expect_error (@() tarnix_fmincon (@(x) x^2 + tarnix_fmincon (@boom, 1), 1), 'host:boom', 'no mesh');
  % a solve within a solve
  inner = @(x) tarnix_fmincon (@(y) (y - x)^2, 0);
  x = tarnix_fmincon (@(x) (inner (x) - 3)^2, 1, [], [], [], [], -10, 10);
  assert (x, 3, 1e-2);
end

function kb = resident ()
  found = regexp (fileread ('/proc/self/status'), 'VmRSS:\s*(\d+)', 'tokens');
  kb = str2double (found{1}{1});
end

% Memory is given back, by solves that end and by those that fail.
function memory ()
  problem = collected ('speed_reducer', 'automatic');
  for count = [20, 200]
    before = resident ();
    for k = 1:count
      tarnix_solve (problem);
      expect_error (@() tarnix_fmincon (@boom, 1), 'host:boom', 'no mesh');
    end
    growth = resident () - before;
  end
  printf ('%d kB more after %d solves\n', growth, count);
  assert (growth < 4096);
end

designs ();
conventions ();
flags ();
errors ();
memory ();
disp ('passed');

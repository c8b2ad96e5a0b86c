% octave-cli --norc --path=build/release/interfaces/octave --path=interfaces/octave/inst
%     bench/octave_bench.m
% What an evaluation costs from Octave, and tarnix_fmincon compared with Octave's sqp on the collection's
% design problems.
1;

% Processor time of a call, which other load does not touch.
function seconds = cost (f, rounds)
  start = cputime ();
  for k = 1:rounds
    f ();
  end
  seconds = (cputime () - start) / rounds;
end

function overhead ()
  f = @(x) sum (x.^2);
  x0 = ones (10, 1);
  options = struct ('Algorithm', 'sqp');
  [~, ~, ~, out] = tarnix_fmincon (f, x0, [], [], [], [], -2 * x0, 3 * x0, [], options);
  solve = @() tarnix_fmincon (f, x0, [], [], [], [], -2 * x0, 3 * x0, [], options);
  whole = cost (solve, 50);
  calls = cost (@() arrayfun (@(k) f (x0), 1:out.funcCount), 50);
  printf ('%d evaluations: %.0f us of processor time each, of which the function itself takes %.0f us\n\n', ...
          out.funcCount, 1e6 * whole / out.funcCount, 1e6 * calls / out.funcCount);
end

function v = part (name, field, x)
  r = collection_mex ('evaluate', name, x);
  v = r.(field);
end

function compare ()
  printf ('%-20s %12s | %-34s | %s\n', '', '', 'tarnix_fmincon', 'sqp');
  printf ('%-20s %12s | %9s %9s %6s %7s | %9s %9s %6s %7s\n', 'problem', 'published', 'diff', ...
          'viol', 'calls', 'ms', 'diff', 'viol', 'calls', 'ms');
  names = collection_mex ('designs');
  good = [0, 0];
  for k = 1:numel (names)
    name = names{k};
    p = collection_mex ('problem', name);
    problem = struct ('evaluate', @(x) collection_mex ('evaluate', name, x), 'x0', p.start, ...
                      'lb', p.lower, 'ub', p.upper);
    has = collection_mex ('evaluate', name, p.start);
    h = g = [];
    if (~isempty (has.c)) h = @(x) -part (name, 'c', x); end
    if (~isempty (has.ceq)) g = @(x) part (name, 'ceq', x); end
    solvers = {@() tarnix_solve(problem), ...
               @() sqp(p.start, @(x) part (name, 'f', x), g, h, p.lower, p.upper, 200)};
    row = sprintf ('%-20s %12.6g', name, p.fBest);
    for s = 1:2
      collection_mex ('count');
      start = tic ();
      x = solvers{s} ();
      ms = 1000 * toc (start);
      calls = collection_mex ('count');
      r = collection_mex ('evaluate', name, x);
      violation = max ([0; r.c; abs(r.ceq); p.lower - x; x - p.upper]);
      difference = (r.f - p.fBest) / max (abs (p.fBest), 1e-12);
      good(s) += violation <= 1e-4 && abs (difference) <= 1e-3;
      row = [row, sprintf(' | %9.1e %9.1e %6d %7.1f', difference, violation, calls, ms)];
    end
    disp (row);
  end
  printf ('optimum within 0.1 %%, violation at most 1e-4: %d and %d of %d\n', good, numel (names));
end

warning ('off', 'all');
overhead ();
compare ();

% One run of a simulator gives everything: the weight of a stepped cantilever and how far its tip
% sinks. Derivatives come with it.
1;
function r = run_beam (sides)
  share = [61; 37; 19; 7; 1];
  r.f = 0.0624 * sum (sides);
  r.c = sum (share ./ sides.^3) - 1;
end
function g = slopes (sides)
  share = [61; 37; 19; 7; 1];
  g.f = 0.0624 * ones (5, 1);
  g.c = -3 * share ./ sides.^4;
end
beam = struct ('evaluate', @run_beam, 'gradient', @slopes, 'x0', 5 * ones (5, 1), 'lb', 1, ...
               'ub', 10, 'options', struct ('Algorithm', 'sqp'));
[sides, weight, flag] = tarnix_solve (beam);
printf ('flag %d, weight %.5f, sides%s\n', flag, weight, sprintf (' %.3f', sides));

% The cheapest tubular column that carries 2500 kgf: mean diameter and wall in cm.
cost = @(x) 9.8 * x(1) * x(2) + 2 * x(1);
stress = @(x) 2500 / (pi * x(1) * x(2) * 500) - 1;
buckling = @(x) 8 * 2500 * 250^2 / (pi^3 * 0.85e6 * x(1) * x(2) * sum (x.^2)) - 1;
limits = @(x) deal ([stress(x); buckling(x)], []);
options = struct ('Algorithm', 'sqp');
[x, f, flag, output, lambda] = tarnix_fmincon (cost, [8; 0.5], [], [], [], [], ...
                                               [2; 0.2], [14; 0.8], limits, options);
printf ('flag %d, cost %.4f\n', flag, f);
printf ('diameter %.4f cm, wall %.4f cm\n', x);
printf ('multipliers %.3f and %.3f\n', lambda.ineqnonlin);

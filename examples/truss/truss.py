"""Plane truss: weight, stress of every bar, sag of every free joint.

usage: truss.py INPUT OUTPUT. The input has lines 'node NAME X Y', 'support NAME',
'bar NAME NAME AREA', 'load NAME DOWN', 'young E' and 'density RHO' (per unit of weight, times 1000
for the printed one).
"""
import sys


def read(path):
    data = {"node": {}, "support": [], "bar": [], "load": {}}
    for line in open(path):
        word, *rest = line.split("#")[0].split() or [""]
        if word == "node":
            data["node"][rest[0]] = (float(rest[1]), float(rest[2]))
        elif word == "support":
            data["support"].append(rest[0])
        elif word == "bar":
            data["bar"].append((rest[0], rest[1], float(rest[2])))
        elif word == "load":
            data["load"][rest[0]] = float(rest[1])
        elif word:
            data[word] = float(rest[0])
    return data


def solve(matrix, right):
    """Elimination without exchanges: the stiffness matrix is positive definite."""
    n = len(right)
    for k in range(n):
        for i in range(k + 1, n):
            factor = matrix[i][k] / matrix[k][k]
            for j in range(k, n):
                matrix[i][j] -= factor * matrix[k][j]
            right[i] -= factor * right[k]
    for i in reversed(range(n)):
        for j in range(i + 1, n):
            right[i] -= matrix[i][j] * right[j]
        right[i] /= matrix[i][i]
    return right


def main(source, target):
    truss = read(source)
    free = [name for name in truss["node"] if name not in truss["support"]]
    place = {(name, axis): 2 * i + axis for i, name in enumerate(free) for axis in (0, 1)}
    stiffness = [[0.0] * len(place) for _ in place]
    force = [0.0] * len(place)
    for name, down in truss["load"].items():
        force[place[name, 1]] -= down

    bars, weight = [], 0.0
    for a, b, area in truss["bar"]:
        (xa, ya), (xb, yb) = truss["node"][a], truss["node"][b]
        length = ((xb - xa) ** 2 + (yb - ya) ** 2) ** 0.5
        ends = {(a, 0): (xa - xb) / length, (a, 1): (ya - yb) / length,
                (b, 0): (xb - xa) / length, (b, 1): (yb - ya) / length}
        bars.append((ends, length))
        weight += 1000 * truss["density"] * area * length
        for p, cp in ends.items():
            for q, cq in ends.items():
                if p in place and q in place:
                    stiffness[place[p]][place[q]] += truss["young"] * area / length * cp * cq

    moved = solve(stiffness, force)
    with open(target, "w") as out:
        out.write(f"weight = {weight!r}\n")
        for number, (ends, length) in enumerate(bars, 1):
            stretch = sum(c * moved[place[p]] for p, c in ends.items() if p in place)
            out.write(f"stress {number} = {truss['young'] * stretch / length!r}\n")
        for number, name in enumerate(free, 1):
            out.write(f"sag {number} = {-moved[place[name, 1]]!r}\n")


main(*sys.argv[1:])

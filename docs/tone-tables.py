#!/usr/bin/env python3
"""The curves behind the default tone tables of src/truesense/Tables.cpp.

tone-tables.py --fit      prints the knots for Tables.cpp
tone-tables.py            draws docs/tone-tables.svg from the knots in Tables.cpp

A curve is a natural cubic spline. The fit finds the ordinates with the least third derivative, weighted so that shadows
and highlights count alike on a logarithmic axis, under which every fixed row rounds to its value, the curve rises, and
(12 bits) it never bends upward.
"""
import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.join(HERE, "..", "src", "pipeline", "Tables.cpp")
MARGIN = 0.02  # distance of fixed rows from a rounding tie

ROWS12 = {0: 0, 1: 5, 2: 10, 3: 15, 8: 41, 16: 81, 32: 162, 64: 322, 128: 628, 256: 1140, 512: 1846, 1000: 2764,
          1024: 2795, 2000: 3623, 2048: 3648, 3000: 3959, 3072: 3971, 3584: 4036, 4000: 4084, 4090: 4094, 4091: 4095,
          4095: 4095}
ROWS8 = {0: 0, 8: 0, 9: 1, 16: 2, 32: 7, 64: 21, 128: 41, 256: 71, 512: 116, 1024: 174, 2048: 228, 3072: 248,
         3584: 252, 3955: 254, 3956: 255, 4000: 255, 4095: 255}
CURVES = {
    "kToneKnots12": (ROWS12, [0, 16, 32, 64, 96, 128, 192, 256, 384, 512, 768, 1024, 1536, 2048, 2560, 3072, 3584,
                              4095], True, 5, 100.0),
    "kToneKnots8": (ROWS8, [0, 8, 16, 24, 32, 48, 64, 96, 128, 192, 256, 384, 512, 768, 1024, 1536, 2048, 2560, 3072,
                            3584, 4095], False, 6, 24.0),
}


def solve(a, b):
    """Gauss elimination with pivoting."""
    n = len(b)
    a = [row[:] + [b[i]] for i, row in enumerate(a)]
    for i in range(n):
        p = max(range(i, n), key=lambda r: abs(a[r][i]))
        a[i], a[p] = a[p], a[i]
        for r in range(i + 1, n):
            f = a[r][i] / a[i][i]
            if f:
                for c in range(i, n + 1):
                    a[r][c] -= f * a[i][c]
    x = [0.0] * n
    for i in reversed(range(n)):
        x[i] = (a[i][n] - sum(a[i][c] * x[c] for c in range(i + 1, n))) / a[i][i]
    return x


def curvatures(xs, ys):
    """Second derivatives at the knots, 0 at both ends."""
    n = len(xs)
    a = [[0.0] * n for _ in range(n)]
    b = [0.0] * n
    a[0][0] = a[-1][-1] = 1.0
    for i in range(1, n - 1):
        h, k = xs[i] - xs[i - 1], xs[i + 1] - xs[i]
        a[i][i - 1], a[i][i], a[i][i + 1] = h / 6, (h + k) / 3, k / 6
        b[i] = (ys[i + 1] - ys[i]) / k - (ys[i] - ys[i - 1]) / h
    return solve(a, b)


def evaluate(xs, ys, ms, x):
    """Value and slope."""
    i = max(j for j in range(len(xs) - 1) if xs[j] <= x)
    h = xs[i + 1] - xs[i]
    s, t = (xs[i + 1] - x) / h, (x - xs[i]) / h
    value = s * ys[i] + t * ys[i + 1] + h * h / 6 * ((s**3 - s) * ms[i] + (t**3 - t) * ms[i + 1])
    slope = (ys[i + 1] - ys[i]) / h + h / 6 * ((1 - 3 * s * s) * ms[i] + (3 * t * t - 1) * ms[i + 1])
    return value, slope


def fit(rows, xs, concave, power, offset):
    """Penalised least squares: third derivative squared, weighted by (x + offset) ** (power - 1)."""
    n = len(xs)
    basis = []
    for j in range(n):
        unit = [float(i == j) for i in range(n)]
        basis.append((unit, curvatures(xs, unit)))
    bounds = []  # (coefficients, low, high)
    for x, v in rows.items():
        c = [evaluate(xs, *b, x)[0] for b in basis]
        low, high = v - 0.5 + MARGIN, v + 0.5 - MARGIN
        if x == 0:
            low, high = 0, 0.0
        if x == 4095:
            high = v + 0.3
        bounds.append((c, low, high))
    for i in range(n):
        scale = xs[i] + 24.0
        bounds.append(([evaluate(xs, *b, xs[i])[1] * scale for b in basis], 0.002 * scale, 1e30))
        if concave:
            bounds.append(([b[1][i] * scale * scale for b in basis], -1e30, 0.0))
    hessian = [[0.0] * n for _ in range(n)]
    for i in range(n - 1):
        h = xs[i + 1] - xs[i]
        weight = ((xs[i + 1] + offset)**power - (xs[i] + offset)**power) / power
        third = [(b[1][i + 1] - b[1][i]) / h for b in basis]
        for r in range(n):
            for c in range(n):
                hessian[r][c] += weight * third[r] * third[c]
    ys = [float(rows.get(x, 0)) for x in xs]
    for penalty in [1e2, 1e4, 1e6, 1e8, 1e9]:
        for _ in range(60):
            a = [row[:] for row in hessian]
            b = [0.0] * n
            for c, low, high in bounds:
                v = sum(p * q for p, q in zip(c, ys))
                if low <= v <= high and low != high:
                    continue
                goal = low if v <= low else high
                for r in range(n):
                    b[r] += penalty * c[r] * goal
                    for k in range(n):
                        a[r][k] += penalty * c[r] * c[k]
            for r in range(n):
                a[r][r] += 1e-9
                b[r] += 1e-9 * ys[r]
            new = solve(a, b)
            change = max(abs(p - q) for p, q in zip(new, ys))
            ys = [p + 0.6 * (q - p) for p, q in zip(ys, new)]
            if change < 1e-7:
                break
    return ys


def check(rows, xs, ys):
    ms = curvatures(xs, ys)
    for x, v in rows.items():
        got = evaluate(xs, ys, ms, x)[0]
        if int(got + 0.5) != v:
            sys.exit("row %d wants %d, has %f" % (x, v, got))
    if min(evaluate(xs, ys, ms, x / 2)[1] for x in range(8190)) <= 0:
        sys.exit("the curve does not rise")


def knots_in_source():
    with open(SOURCE) as f:
        text = f.read()
    for name, curve in CURVES.items():
        body = re.search(name + r"\[\] = \{(.*?)\};", text, re.S).group(1)
        pairs = re.findall(r"\{([\d.]+), ([\d.]+)\}", body)
        yield name, curve[0], [float(x) for x, _ in pairs], [float(y) for _, y in pairs]


def draw():
    """Curve with its fixed rows, then the first and second difference of the curve over relative steps."""
    size, gap, left, top = 300, 70, 60, 40
    columns = ("value", "first difference over 1", "second difference over (x + 24) / 8")
    out = []
    for row, (name, rows, xs, ys) in enumerate(knots_in_source()):
        check(rows, xs, ys)
        ms = curvatures(xs, ys)
        at = lambda x: evaluate(xs, ys, ms, x)[0]
        grid = [4095 * (i / 400)**2 for i in range(401)]  # samples and axis by the square root
        second = []
        for x in grid:
            h = (x + 24) / 8
            if h <= x <= 4095 - h:
                second.append((x, at(x + h) - 2 * at(x) + at(x - h)))
        panels = ([(x, at(x)) for x in grid], [(x, evaluate(xs, ys, ms, x)[1]) for x in grid], second)
        for column, points in enumerate(panels):
            ox, oy = left + column * (size + gap), top + row * (size + gap)
            low, high = min(0.0, min(y for _, y in points)), max(0.0, max(y for _, y in points))
            px = lambda x: ox + size * (x / 4095)**0.5
            py = lambda y: oy + size * (high - y) / (high - low)
            out.append('<rect x="%d" y="%d" width="%d" height="%d" fill="none" stroke="#999"/>' % (ox, oy, size, size))
            out.append('<text x="%d" y="%d">%s, %s</text>' %
                       (ox, oy - 8, {"kToneKnots12": "Tonescale12Table12"}.get(name, "Tonescale12"), columns[column]))
            for x in (64, 256, 1024, 2048, 4095):
                out.append('<text x="%.0f" y="%d" text-anchor="middle">%d</text>' % (px(x), oy + size + 14, x))
            for y in (low, high):
                out.append('<text x="%d" y="%.0f" text-anchor="end">%.4g</text>' % (ox - 4, py(y) + 4, y))
            path = " ".join("%.1f,%.1f" % (px(x), py(y)) for x, y in points)
            out.append('<polyline points="%s" fill="none" stroke="#06c"/>' % path)
            if column == 0:
                for x, y in rows.items():
                    out.append('<circle cx="%.1f" cy="%.1f" r="2" fill="#c30"/>' % (px(x), py(y)))
    width, height = left + 3 * (size + gap), top + 2 * (size + gap)
    with open(os.path.join(HERE, "tone-tables.svg"), "w") as f:
        f.write('<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d" font-family="sans-serif" '
                'font-size="11">\n<rect width="100%%" height="100%%" fill="#fff"/>\n%s\n</svg>\n' %
                (width, height, "\n".join(out)))


if __name__ == "__main__":
    if "--fit" in sys.argv:
        for name, (rows, xs, *how) in CURVES.items():
            ys = [abs(round(y, 4)) for y in fit(rows, xs, *how)]
            check(rows, xs, ys)
            print(name, ", ".join("{%d, %s}" % p for p in zip(xs, ys)))
    else:
        draw()

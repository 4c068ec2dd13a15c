"""Which points belong to contours: a plain second statement of the rule, with numpy only.

Contours keep their vertices. Heights are whole micrometres; a plane governs the heights up to halfway to
its neighbours, or half the slice distance where a neighbour is farther away than 1.5 times that. In a
plane a point is inside if an odd number of edges cross the ray from it towards smaller x.
"""

import numpy as np

SHEETS_AT_MOST = 4_000_000


def height(z):
    return int(np.floor(np.float64(z) * 1000 + 0.5))


def same_loop(a, b):
    """Whether two contours have the same vertices in the same cyclic order, either way round."""
    if len(a) != len(b):
        return False
    turned = [np.roll(b, shift, axis=0) for shift in range(len(b))]
    return any((a == t).all() or (a == t[::-1]).all() for t in turned)


def planes(contours):
    """Contours without repetitions by their heights."""
    found = {}
    for contour in contours:
        total = 0.0
        for vertex in contour:
            total += vertex[2]
        loops = found.setdefault(height(total / len(contour)), [])
        flat = np.asarray(contour, np.float64)[:, :2]
        if not any(same_loop(flat, other) for other in loops):
            loops.append(flat)
    return dict(sorted(found.items()))


def lower_median(values):
    return sorted(values)[(len(values) - 1) // 2]


def distances(heights):
    return [b - a for a, b in zip(heights, heights[1:])]


def slabs(heights, slice_distance):
    """From where to where each plane governs, in quarters of micrometres."""
    found = []
    for i, h in enumerate(heights):
        below = h - heights[i - 1] if i > 0 else None
        above = heights[i + 1] - h if i + 1 < len(heights) else None

        def half(distance):
            is_far = distance is None or 2 * distance > 3 * slice_distance
            return 2 * slice_distance if is_far else 2 * distance

        found.append((4 * h - half(below), 4 * h + half(above)))
    return found


def inside(loops, x, y):
    """For points of one row: whether they are inside."""
    crossed = np.zeros(np.shape(x), int)
    for loop in loops:
        for (xa, ya), (xb, yb) in zip(loop, np.roll(loop, -1, axis=0)):
            x1, y1, x2, y2 = (xa, ya, xb, yb) if ya < yb else (xb, yb, xa, ya)
            if y1 <= y < y2:
                crossed += x1 + (y - y1) * (x2 - x1) / (y2 - y1) <= x
    return crossed % 2 == 1


def positions(origin, spacing, count, parts):
    index = np.arange(count * parts)
    return origin + (index // parts + ((index % parts + 0.5) / parts - 0.5)) * spacing


def membership(structures, size, spacing, origin, parts=(1, 1, 1)):
    """For each list of contours the points of a grid, shape (nz, ny, nx), that belong to it."""
    drawn = [planes(contours) for contours in structures]
    all_distances = [d for each in drawn for d in distances(list(each))]
    common = lower_median(all_distances) if all_distances else height(spacing[2])
    xs, ys, zs = (positions(origin[a], spacing[a], size[a], parts[a]) for a in range(3))
    masks = []
    for each in drawn:
        heights = list(each)
        own = lower_median(distances(heights)) if len(heights) > 1 else common
        mask = np.zeros((len(zs), len(ys), len(xs)), bool)
        for k, z in enumerate(zs):
            quarter = 4 * height(z)
            for h, (lower, upper) in zip(heights, slabs(heights, own)):
                if lower <= quarter < upper:
                    mask[k] = [inside(each[h], xs, y) for y in ys]
        masks.append(mask)
    return masks


def finest_parts(spacing):
    return tuple(next(p for p in range(1, 9) if s / p <= 1 + 1e-6 or p == 8) for s in spacing)


def volume(contours, size, spacing, origin):
    """cc, by the centres of parts of voxels that are at most 1 mm wide."""
    parts = finest_parts(spacing)
    while True:
        (mask,) = membership([contours], size, spacing, origin, parts)
        if mask.sum() <= SHEETS_AT_MOST:
            return mask.sum() * np.prod(np.divide(spacing, parts)) / 1000
        parts = tuple(max(p - 1, 1) for p in parts)

"""The colours that the product's own pictures share."""

# From deep blue to pale gold, display values.
GRADIENT = [(0.07, 0.13, 0.36), (0.16, 0.27, 0.62), (0.38, 0.24, 0.60), (0.72, 0.24, 0.46), (0.90, 0.40, 0.28),
            (0.95, 0.65, 0.27), (0.97, 0.84, 0.50)]


def gradient(t):
    """The colour at `t`, 0 to 1."""
    position = t * (len(GRADIENT) - 1)
    low = min(int(position), len(GRADIENT) - 2)
    part = position - low
    return tuple(a + (b - a) * part for a, b in zip(GRADIENT[low], GRADIENT[low + 1]))

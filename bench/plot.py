"""Line plots on two logarithmic axes as SVG."""
import math

WIDTH, HEIGHT = 640, 360
LEFT, RIGHT, TOP, BOTTOM = 80, 150, 40, 50
COLOURS = ("#0b5fa5", "#c4501b", "#3d7a37", "#7a4b9a")


def escaped(text):
    return text.replace("&", "&amp;").replace("<", "&lt;")


def short_number(value):
    for limit, suffix in ((1e9, "G"), (1e6, "M"), (1e3, "k")):
        if value >= limit:
            return f"{value / limit:.3g}{suffix}"
    return f"{value:g}"


class Axis:
    """Places values of a range of whole powers of ten between two ends."""

    def __init__(self, values, begin, end):
        self.low = math.floor(math.log10(min(values)) + 1e-9)
        self.high = max(math.ceil(math.log10(max(values)) - 1e-9), self.low + 1)
        self.begin, self.end = begin, end

    def place(self, value):
        share = (math.log10(value) - self.low) / (self.high - self.low)
        return self.begin + share * (self.end - self.begin)

    def ticks(self):
        return [10.0**power for power in range(self.low, self.high + 1)]


def spread(places, distance):
    """Moves labels down until none covers another."""
    moved = []
    for place in places:
        moved.append(max(place, moved[-1] + distance) if moved else place)
    return moved


def line_plot(title, x_label, y_label, series):
    """`series` is a list of a name and its points (x, y), all above zero."""
    points = [point for _, line in series for point in line]
    right, bottom = WIDTH - RIGHT, HEIGHT - BOTTOM
    across = Axis([x for x, _ in points], LEFT, right)
    up = Axis([y for _, y in points], bottom, TOP)
    out = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
        f'width="{WIDTH}" height="{HEIGHT}" font-family="sans-serif" font-size="12">',
        f"<title>{escaped(title)}</title>",
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>',
        f'<text x="{LEFT}" y="22" font-size="15">{escaped(title)}</text>',
    ]
    for tick in across.ticks():
        x = across.place(tick)
        out.append(f'<path d="M{x:.1f} {TOP}V{bottom}" stroke="#dddddd"/>')
        out.append(f'<text x="{x:.1f}" y="{bottom + 16}" text-anchor="middle">'
                   f"{short_number(tick)}</text>")
    for tick in up.ticks():
        y = up.place(tick)
        out.append(f'<path d="M{LEFT} {y:.1f}H{right}" stroke="#dddddd"/>')
        out.append(f'<text x="{LEFT - 6}" y="{y + 4:.1f}" text-anchor="end">'
                   f"{short_number(tick)}</text>")
    middle = (TOP + bottom) / 2
    out.append(f'<text x="{(LEFT + right) / 2}" y="{HEIGHT - 12}" text-anchor="middle">'
               f"{escaped(x_label)}</text>")
    out.append(f'<text transform="translate(18 {middle}) rotate(-90)" text-anchor="middle">'
               f"{escaped(y_label)}</text>")
    ends = []
    for (name, line), colour in zip(series, COLOURS):
        path = " ".join(f"{across.place(x):.1f},{up.place(y):.1f}" for x, y in line)
        out.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        for x, y in line:
            out.append(f'<circle cx="{across.place(x):.1f}" cy="{up.place(y):.1f}" r="3" '
                       f'fill="{colour}"/>')
        ends.append((up.place(line[-1][1]), name, colour))
    ends.sort()
    for y, (_, name, colour) in zip(spread([end[0] for end in ends], 15), ends):
        out.append(f'<text x="{right + 8}" y="{y + 4:.1f}" fill="{colour}">{escaped(name)}</text>')
    return "\n".join(out + ["</svg>", ""])

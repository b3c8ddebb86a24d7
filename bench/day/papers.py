"""Makes what the day's programs show: pages, a PDF, a table, pictures, a video, source files. All
of it before the recording, so that none of this work is measured."""
import html
import pathlib
import subprocess
import textwrap

_SCRIPTS = pathlib.Path(__file__).parents[2] / "scripts"
_FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"
_PDF_LINES = 40  # a page of scripts/text-to-pdf
_SCREENS_OF_PARAGRAPHS = 14
FIRST_CAPTION_S, CAPTION_S = 2, 8

_PAGE = """<!doctype html><html lang="en"><head><meta charset="utf-8">
<title>{heading}</title><style>
body {{ font: 17px/1.55 "DejaVu Sans", "Noto Sans CJK SC", sans-serif; max-width: 1150px;
        margin: 0 auto; padding: 30px; color: #222; background: {background}; }}
h1 {{ color: #1d3d66; }} img {{ width: 420px; float: right; margin: 0 0 12px 24px; }}
#note {{ position: fixed; right: 0; bottom: 0; padding: 10px 26px; color: #fff; background: #345;
         font-size: 20px; }}
</style></head><body><h1>{heading}</h1>{body}<div id="note">Note {first}</div><script>
const words = [{words}];
let turned = 0;
addEventListener("keydown", event => {{
    if (event.key === "PageDown") {{
        document.getElementById("note").textContent = "Note " + words[++turned % words.length];
    }}
}});
</script></body></html>"""


def _ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-v", "error", "-y", *map(str, arguments)], check=True)


def page(target, subject, words, chance, picture=None):
    """A long page; each press of Page_Down shows the next of the words in its lower corner."""
    parts = [f"<p>{html.escape(subject.paragraph(chance))}</p>"
             for _ in range(_SCREENS_OF_PARAGRAPHS * (len(words) + 1))]
    if picture:
        parts.insert(1, f'<img src="{picture}">')
    target.write_text(_PAGE.format(
        heading=html.escape(subject.heading), body="\n".join(parts), first=words[0],
        words=", ".join(f'"{word}"' for word in words),
        background=chance.choice(["#ffffff", "#fbf7ee", "#f2f5f8"])), encoding="utf-8")


def pdf(target, leaves, chance):
    """leaves: [(Subject, word)], one a page, the word in its first line."""
    lines = []
    for subject, word in leaves:
        text = " ".join(subject.paragraph(chance, 4) for _ in range(12))
        leaf = [f"{subject.heading}  ({word})", ""] + textwrap.wrap(text, 100)
        lines += (leaf + [""] * _PDF_LINES)[:_PDF_LINES]
    text = target.with_suffix(".txt")
    text.write_text("\n".join(lines), encoding="utf-8")
    subprocess.run([_SCRIPTS / "text-to-pdf", text, target], check=True)


def table(target, rows, chance):
    places = ["Gdansk", "Porto", "Riga", "Turku", "Ghent", "Split", "Bergen", "Cork"]
    goods = ["tea", "steel", "timber", "glass", "cable", "paper", "coffee", "salt"]
    lines = ["Date,Place,Goods,Crates,Weight,Price,Remark"]
    for number in range(rows):
        lines.append(f"2024-{number // 28 % 12 + 1:02}-{number % 28 + 1:02},"
                     f"{chance.choice(places)},{chance.choice(goods)},{chance.randint(1, 999)},"
                     f"{chance.uniform(1, 9000):.2f},{chance.uniform(5, 700):.2f},"
                     f"lot {chance.randint(1000, 9999)}")
    target.write_text("\n".join(lines), encoding="utf-8")


def picture(target, word, chance):
    """A colourful picture with its title below."""
    x, y = chance.choice([(-0.7436, 0.1318), (-0.1592, -1.0332), (-1.2500, 0.0200),
                          (0.2850, 0.0110), (-0.5500, 0.6200)])
    scale = chance.uniform(0.02, 0.8)
    _ffmpeg("-f", "lavfi", "-i",
            f"mandelbrot=s=1280x800:start_x={x}:start_y={y}:start_scale={scale}:maxiter=512",
            "-frames:v", 1, "-vf",
            f"drawbox=y=ih-70:w=iw:h=70:color=black@0.75:t=fill,drawtext=fontfile={_FONT}:"
            f"text='Picture {word}':fontsize=34:fontcolor=white:x=40:y=h-52", target)


def video(target, words):
    """720p, 25 pictures a second; a caption every CAPTION_S seconds, from FIRST_CAPTION_S on."""
    captions = [f"drawbox=x=300:y=ih-90:w=680:h=64:color=black@0.75:t=fill:enable='gte(t,"
                f"{FIRST_CAPTION_S})'"]
    for number, word in enumerate(words):
        start = FIRST_CAPTION_S + number * CAPTION_S
        captions.append(f"drawtext=fontfile={_FONT}:text='and then {word} said':fontsize=36:"
                        f"fontcolor=white:x=340:y=h-76:enable='between(t,{start},"
                        f"{start + CAPTION_S - 0.5})'")
    _ffmpeg("-f", "lavfi", "-i", "mandelbrot=s=1280x720:r=25:start_scale=1.2:end_pts=900",
            "-t", FIRST_CAPTION_S + CAPTION_S * (len(words) + 1), "-vf", ",".join(captions),
            "-pix_fmt", "yuv420p", "-preset", "ultrafast", target)


_MAKEFILE = """OBJECTS = $(patsubst %.c,%.o,$(wildcard *.c))
all: $(OBJECTS)
\t@echo "== finished $(NAME): $(words $(OBJECTS)) objects"
%.o: %.c
\tgcc -O2 -Wall -Wextra -c -o $@ $<
"""


def sources(folder, word, chance):
    """A small C project whose compile takes some seconds and gives some warnings."""
    folder.mkdir()
    (folder / "Makefile").write_text(_MAKEFILE, encoding="utf-8")
    for number in range(5):
        name = f"{chance.choice(['ship', 'crate', 'pier', 'crane', 'tide'])}_{number}"
        functions = "\n".join(
            f"int {name}_{part}(int a) {{ {'int spare; ' if part < 2 else ''}int b[64];"
            f" for (int i = 0; i < 64; ++i) {{ b[i] = a * {chance.randint(3, 999)} % (i + 7); }}"
            f" return b[a & 63] ^ {part}; }}" for part in range(120))
        (folder / f"{name}_{word}.c").write_text(functions, encoding="utf-8")

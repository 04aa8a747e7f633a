"""Makes measured.csv in the current folder: the measurement of docs/fit.md, by the first block of that page itself."""
import re
from pathlib import Path

PAGE = Path(__file__).resolve().parents[1] / "fit.md"


def main():
    """Runs the block, and writes what it has measured."""
    names = {}
    block = re.search(r"^```python\n(.*?)^```", PAGE.read_text("utf-8"), re.M | re.S).group(1)
    exec(compile(block, PAGE.name, "exec"), names)  # the program is our own text
    measured = names["measured"].rename("Flow (m3/s)")
    measured.to_csv("measured.csv", index_label="Date", date_format="%Y-%m-%d %H:%M:%S")


if __name__ == "__main__":
    main()

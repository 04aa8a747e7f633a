"""Whether each link of the built manual leads to a page and a place that are there, and whether the pages load anything
from a network.

    checklinks.py FOLDER
"""
import re
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit


class Page(HTMLParser):
    """The links of a page, its places, and what it loads."""

    def __init__(self, path):
        super().__init__()
        self.links, self.places, self.loads = [], {""}, []
        self.feed(path.read_text("utf-8"))

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        self.places.update(values[name] for name in ("id", "name") if values.get(name))
        if tag == "a" and values.get("href"):
            self.links.append((self.getpos()[0], values["href"]))
        loaded = values.get("src") or (values.get("href") if tag == "link" else None)
        if loaded and not (tag == "link" and values.get("rel") in ("index", "search", "next", "prev", "canonical")):
            self.loads.append((self.getpos()[0], loaded))
        for name in ("style", "srcset"):
            for url in re.findall(r"(?:https?:)?//[^\s)\"']+", values.get(name) or ""):
                self.loads.append((self.getpos()[0], url))


def find_faults(folder):
    """Sentences on what is wrong, and the number of links."""
    pages = {path: Page(path) for path in sorted(folder.rglob("*.html"))}
    faults, count = [], 0
    for path, page in pages.items():
        name = path.relative_to(folder).as_posix()
        for line, link in page.links:
            count += 1
            try:
                parts = urlsplit(link)
            except ValueError:
                faults.append(f"{name}:{line}: {link}: no address")
                continue
            if parts.scheme in ("http", "https"):
                if not re.fullmatch(r"[a-z0-9.-]+\.[a-z]+(:\d+)?", parts.netloc):
                    faults.append(f"{name}:{line}: {link}: no address")
            elif parts.scheme:
                faults.append(f"{name}:{line}: {link}: an address of another kind")
            else:
                target = path if not parts.path else (path.parent / unquote(parts.path)).resolve()
                if not target.is_file():
                    faults.append(f"{name}:{line}: {link}: no such file")
                elif target in pages and unquote(parts.fragment) not in pages[target].places:
                    faults.append(f"{name}:{line}: {link}: no such place")
        for line, link in page.loads:
            if re.match(r"(?:[a-z]+:)?//", link):
                faults.append(f"{name}:{line}: {link}: is loaded from a network")
            elif not link.startswith("data:") and not (path.parent / unquote(urlsplit(link).path)).is_file():
                faults.append(f"{name}:{line}: {link}: no such file")
    for path in sorted(folder.rglob("*.css")):
        for url in re.findall(r"(?:@import\s+[\"']|url\([\"']?)((?:https?:)?/[^\s\"')]+)", path.read_text("utf-8")):
            faults.append(f"{path.relative_to(folder).as_posix()}: {url}: is loaded from elsewhere")
    return faults, count, len(pages)


def main():
    """Prints what is wrong."""
    if len(sys.argv) != 2:
        sys.exit("checklinks.py FOLDER")
    faults, count, pages = find_faults(Path(sys.argv[1]).resolve())
    for fault in faults:
        print(fault, file=sys.stderr)
    print(f"{count} links on {pages} pages, {len(faults)} faults")
    sys.exit(1 if faults or not count else 0)


if __name__ == "__main__":
    main()

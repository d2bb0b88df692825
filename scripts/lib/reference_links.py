"""Mends the links of the reference that lead to a heading of a document, which doxygen leaves as they stand there.

usage: reference_links.py FOLDER, where doxygen has written the pages
"""

import html
import pathlib
import re
import sys

LINK = re.compile(r'href="(?:[^":#]*/)?([\w-]+)\.md#([^"]+)"')
HEADING = re.compile(r'<h\d><a class="anchor" id="([^"]+)"></a>(.*?)</h\d>', re.DOTALL)


def place_named_after(heading):
    """What a link to this heading names: its words in small letters, joined with hyphens."""
    words = html.unescape(re.sub(r"<[^>]*>", "", heading)).strip().lower()
    return re.sub(r"\s+", "-", re.sub(r"[^\w\s-]", "", words))


def page_of(folder, document):
    (page,) = folder.glob(f"md_*{document.replace('-', '_')}.html")
    return page


def mended(folder, document, place):
    page = page_of(folder, document)
    for name, heading in HEADING.findall(page.read_text()):
        if place_named_after(heading) == place:
            return f'href="{page.name}#{name}"'
    sys.exit(f"{document}.md has no heading that #{place} names")


def main():
    folder = pathlib.Path(sys.argv[1])
    for page in [folder / "index.html", *folder.glob("md_*.html")]:
        text = page.read_text()
        new = LINK.sub(lambda link: mended(folder, *link.groups()), text)
        if new != text:
            page.write_text(new)


if __name__ == "__main__":
    main()

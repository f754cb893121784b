"""Runs the commands of a page of the documents on a simulated gateway, in order.

    document_test.py [PAGE]     (docs/bringing-up-a-board.md)

A command is an indented line that begins with "$ "; the indented lines below it are
what it prints. In these "..." stands for any text, or alone on a line for any lines. A
command ends with 0; if it does not, the page says so with "; echo $?".
"""

import pathlib
import re
import sys

from gateway import TOP, GatewayTest, main

PAGE = TOP / "docs/bringing-up-a-board.md"
INDENT = "    "
HERE = {"SWMGR_DATABASE": "/run/gateway/switch.db"}  # in the place of /etc/swmgr/config.db


def commands(text):
    """Pairs of a command and its output lines, from the page."""
    found = []
    for line in text.splitlines():
        if line.startswith(INDENT + "$ "):
            found.append((line[len(INDENT) + 2:], []))
            inside = True
        elif line.startswith(INDENT) and found and inside:
            found[-1][1].append(line[len(INDENT):].rstrip())
        else:
            inside = False
    return found


def pattern(lines):
    """A pattern that matches these lines."""
    parts = [r"(?:.*\n)*?" if line == "..." else
             "[^\n]*?".join(map(re.escape, line.split("..."))) + "\n" for line in lines]
    return re.compile("".join(parts))


class Document(GatewayTest):
    def setUp(self):
        self.board = self.gateway(config=None)
        self.board.start_log_daemon()

    def execute(self, line):
        """The test starts the service; the shell runs everything else."""
        if line == "systemctl restart swmgrd":
            self.assertEqual(self.board.stop(), 0)
        if line in ("systemctl restart swmgrd", "systemctl start swmgrd"):
            self.assertTrue(self.board.start(), line)
            self.assertEqual(self.board.swctl("recover"), 0)  # as the unit does
            return ""
        done = self.board.inside("run", argv=["bash", "-c", f"exec 2>&1; {line}"], env=HERE)
        self.assertEqual(done["status"], 0, f"{line}\n{done['out']}")
        return "".join(text.rstrip() + "\n" for text in done["out"].splitlines())

    def test_page(self):
        page = commands(PAGE.read_text())
        self.assertTrue(page, f"{PAGE} has no commands")
        for line, expected in page:
            shown = self.execute(line)
            if not pattern(expected).fullmatch(shown):
                self.fail(f"{PAGE.name}: $ {line}\n--- the page\n" + "\n".join(expected) +
                          f"\n--- printed\n{shown}")


if __name__ == "__main__":
    if len(sys.argv) > 1 and not sys.argv[1].startswith("-"):
        PAGE = pathlib.Path(sys.argv.pop(1)).resolve()
    main()

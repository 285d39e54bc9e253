"""What tests of the built programs share."""

import os
import tempfile
import unittest


def rows_of(document, title):
    """The rows of the table in the document whose first column has this title."""
    table = document.split(f"\n| {title} |", 1)[1].split("\n\n", 1)[0]
    return [[cell.strip() for cell in row.strip("|").split("|")] for row in table.splitlines()[2:]]


class FolderTest(unittest.TestCase):
    """Each test is run in an empty folder of its own."""

    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

"""Pages of made-up reports in a browser: report_pages_test.py PROGRAM PROJECT."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import jsonschema
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.keys import Keys

import helpers
from sample_reports import report, samples

PROGRAM, PROJECT = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))
BROWSER = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
           "--disable-component-update --disable-sync --disable-dev-shm-usage").split()
# Colour scheme, scripts, width of the window; without scripts nothing depends on the run.
LOOKS = ((False, True, 1200), (True, True, 400), (True, False, 1200))


class PagesTest(helpers.FolderTest):
    def make_page(self, name, *arguments):
        subprocess.run([PROGRAM, *arguments, f"--html={name}.html"], check=True, timeout=60)
        self.assertLess(os.path.getsize(f"{name}.html"), 1_500_000)

    def test_pages_in_a_browser(self):
        schema = json.loads((PROJECT / "docs/report.schema.json").read_text(encoding="utf-8"))
        made = samples()
        for sample in made.values():
            jsonschema.validate(sample, schema, cls=jsonschema.Draft202012Validator)
        batch = {f"r{i}": report(i, 3, 30, 4000 + 3 * i, 0.2 * (i % 9 == 0), {"station": f"S{i % 3}", "n": str(i)})
                 for i in range(100)}
        for name, run in (made | batch).items():
            pathlib.Path(name).write_text(json.dumps(run), encoding="utf-8")
        self.make_page("large", *10 * [*batch])
        pages = {name: ([name], 4, 2) for name in ("hour", "passed")} | {"silent": (["silent"], 1, 2)} | {
            "three": (["passed", "lossy", "hostile"], 4, 3), "batch": ([*batch, "--by=station"], 2, 3)}
        browser = self.start_browser()
        for name, (arguments, charts, looks) in pages.items():
            self.make_page(name, *arguments)
            for dark, script, width in LOOKS[:looks]:
                with self.subTest(page=name, dark=dark, script=script):
                    self.look_at(browser, name, dark, script, width)
                    self.assertEqual(browser.execute_script(
                        "return document.querySelectorAll('.chart:not([hidden])').length"), charts * script)
        self.look_at(browser, "batch", False, True, 1200)
        self.check_sorting(browser, batch)

    def start_browser(self):
        profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self.addCleanup(profile.cleanup)
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for argument in (*BROWSER, f"--user-data-dir={profile.name}"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.addCleanup(browser.quit)
        return browser

    def look_at(self, browser, name, dark, script, width):
        scheme = {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}
        browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [scheme]})
        browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": not script})
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                {"width": width, "height": 800, "deviceScaleFactor": 1, "mobile": False})
        browser.get_log("performance")  # what the browser's own first page did
        browser.get(page := pathlib.Path(f"{name}.html").resolve().as_uri())
        self.assertEqual(browser.get_log("browser"), [])
        events = [json.loads(entry["message"])["message"] for entry in browser.get_log("performance")]
        asked = [event["params"]["request"]["url"] for event in events
                 if event["method"] == "Network.requestWillBeSent"]
        self.assertEqual([url for url in asked if url != page and not url.startswith("data:")], [])
        self.assertEqual(browser.execute_script(
            "const {scrollWidth, clientWidth} = document.documentElement;"
            "return [document.images.length, scrollWidth - clientWidth]"), [0, 0])
        ground = browser.execute_script("return getComputedStyle(document.body).backgroundColor")
        self.assertEqual(ground, "rgb(18, 20, 25)" if dark else "rgb(245, 246, 248)")

    def check_sorting(self, browser, batch):
        column = "return [...document.querySelectorAll('#runs tbody tr')].map(row => row.cells[arguments[0]].innerText)"
        failed = sum(run["verdict"] == "failed" for run in batch.values())
        self.assertEqual([verdict[-6:] for verdict in browser.execute_script(column, 1)],
                         ["Failed"] * failed + ["Passed"] * (len(batch) - failed))
        buttons = browser.find_elements("css selector", "#runs th button")
        for ways in ("descending", "ascending"):
            buttons[4].send_keys(Keys.ENTER)
            self.assertEqual(buttons[4].find_element("xpath", "..").get_attribute("aria-sort"), ways)
            values = [float(text.split()[0]) for text in browser.execute_script(column, 4)]
            self.assertEqual(values, sorted(values, reverse=ways == "descending"))


if __name__ == "__main__":
    unittest.main()

"""Pages of made-up reports in a browser: report_pages_test.py PROGRAM PROJECT."""

import json
import os
import pathlib
import subprocess
import sys
import unittest

import jsonschema
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.keys import Keys

import helpers
from sample_reports import report, samples, survey

PROGRAM, PROJECT = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))
BROWSER = ("--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
           "--disable-component-update --disable-sync --disable-dev-shm-usage").split()
# Colour scheme, scripts, width of the window.
LOOKS = ((True, False, 1200), (True, True, 400), (False, True, 1200))


class PagesTest(helpers.FolderTest):
    def test_pages_in_a_browser(self):
        batch = {f"r{i}": report(i, 3, 30, 4000 + 3 * i, tags={"station": f"S{i % 3}"}) for i in range(100)}
        for name, run in (samples() | batch | {"survey": survey()}).items():
            schema = json.loads((PROJECT / f"docs/{run.get('kind', 'run')}.schema.json").read_text(encoding="utf-8"))
            jsonschema.validate(run, schema, cls=jsonschema.Draft202012Validator)
            pathlib.Path(name).write_text(json.dumps(run), encoding="utf-8")
        browser = self.start_browser()
        for name, (charts, *arguments) in {
                "hour": (4, "hour"), "survey": (2, "survey"), "passed": (4, "passed"), "silent": (1, "silent"),
                "three": (4, "passed", "lossy", "hostile"), "batch": (2, *batch, "--by=station")}.items():
            subprocess.run([PROGRAM, *arguments, "--html=" + (page := name + ".html")], check=True, timeout=60)
            self.assertLess(os.path.getsize(page), 1_500_000)
            for dark, script, width in LOOKS:
                with self.subTest(page=page, dark=dark, script=script):
                    self.look_at(browser, page, dark, script, width)
                    self.assertEqual(browser.execute_script(
                        "return document.querySelectorAll('.chart:not([hidden])').length"), charts * script)
        button = browser.find_elements("css selector", "#runs th button")[4]
        for way in ("descending", "ascending"):
            button.send_keys(Keys.ENTER)
            self.assertEqual(button.find_element("xpath", "..").get_attribute("aria-sort"), way)
            values = [float(text.split()[0]) for text in browser.execute_script(
                "return [...document.querySelectorAll('#runs tbody tr')].map(row => row.cells[4].innerText)")]
            self.assertEqual(values, sorted(values, reverse=way == "descending"))

    def start_browser(self):
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for argument in (*BROWSER, f"--user-data-dir={os.getcwd()}/profile"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.addCleanup(browser.quit)
        return browser

    def look_at(self, browser, page, dark, script, width):
        scheme = {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}
        browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [scheme]})
        browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": not script})
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                {"width": width, "height": 800, "deviceScaleFactor": 1, "mobile": False})
        browser.get_log("performance")  # what the browser's own first page did
        browser.get(page := pathlib.Path(page).resolve().as_uri())
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


if __name__ == "__main__":
    unittest.main()

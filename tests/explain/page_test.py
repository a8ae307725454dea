"""What a person sees who opens the page of a trace in a browser: driven through WebDriver.

page_test.py PAGE [PICTURES]: PAGE was made from the trace in this folder; PICTURES, a folder, gets screenshots.
Ends with 77 where there is no browser.
"""
import base64
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

PAGE = pathlib.Path(sys.argv[1]).resolve()
PICTURES = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None


class Browser:
    """A headless Chromium behind chromedriver, on a port of its own choice."""

    def __init__(self):
        self.profile = tempfile.mkdtemp()
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE,
                                       stderr=subprocess.DEVNULL, text=True)
        for line in self.driver.stdout:
            if "started successfully on port" in line:
                self.root = f"http://127.0.0.1:{line.rstrip('.').split()[-1].rstrip('.')}"
                break
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--disable-dev-shm-usage", f"--user-data-dir={self.profile}"]
        answer = self.call("POST", "/session", {"capabilities": {"alwaysMatch": {
            "goog:chromeOptions": {"args": arguments}, "goog:loggingPrefs": {"browser": "ALL"}}}})
        self.session = "/session/" + answer["sessionId"]

    def call(self, method, path, body=None):
        request = urllib.request.Request(self.root + path, method=method,
                                         data=None if body is None else json.dumps(body).encode())
        with urllib.request.urlopen(request, timeout=60) as answer:
            return json.load(answer)["value"]

    def open(self, url, width=1280, height=1400):
        self.call("POST", self.session + "/window/rect", {"width": width, "height": height})
        self.call("POST", self.session + "/url", {"url": url})

    def run(self, script, *arguments):
        return self.call("POST", self.session + "/execute/sync", {"script": script, "args": list(arguments)})

    def picture(self, name):
        if PICTURES:
            data = base64.b64decode(self.call("GET", self.session + "/screenshot"))
            (PICTURES / f"{name}.png").write_bytes(data)

    def messages(self):
        return self.call("POST", self.session + "/se/log", {"type": "browser"})

    def close(self):
        try:
            self.call("DELETE", self.session)
        finally:
            self.driver.terminate()
            self.driver.wait(10)
            shutil.rmtree(self.profile, ignore_errors=True)


SEEN = """
const seen = node => node.offsetParent !== null && getComputedStyle(node).visibility !== 'hidden';
"""


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def setUp(self):
        self.browser.open(PAGE.as_uri())

    def texts(self, selector):
        """Texts of all that can be seen."""
        return self.browser.run(SEEN + "return [...document.querySelectorAll(arguments[0])].filter(seen)"
                                       ".map(node => node.innerText.trim());", selector)

    def click(self, selector, text=""):
        self.assertTrue(self.browser.run(
            SEEN + "const node = [...document.querySelectorAll(arguments[0])].filter(seen)"
                   ".find(node => node.innerText.includes(arguments[1])); if (node) node.click();"
                   "return !!node;", selector, text), f"nothing to click: {selector} {text}")

    def search(self, text):
        self.browser.run("const box = document.getElementById('search'); box.value = arguments[0];"
                         "box.dispatchEvent(new Event('input'));", text)

    def test_opens_without_an_error_and_loads_nothing_from_elsewhere(self):
        self.assertEqual(self.browser.messages(), [])
        self.assertEqual(self.browser.run("return performance.getEntriesByType('resource').length"), 0)
        self.browser.picture("wide")

    def test_tells_each_transaction_and_how_it_ended(self):
        self.assertEqual(self.texts("article h2"), ["1 Purchase", "2 Purchase", "3 Card data reading"])
        self.assertEqual(self.texts("article .ended"),
                         ["approved by the bank: 00; the card took the answer for right",
                          "refused by the card: it took the bank's answer (00, Approved) for wrong",
                          "stops at Records: No card (-2)"])
        self.assertEqual(self.browser.run("return [...document.querySelectorAll('article')]"
                                          ".map(node => node.className)"), ["", "failed", "failed"])

    def test_opens_an_exchange_for_its_decoded_content(self):
        self.assertEqual(self.texts(".details"), [])
        self.click(".step > .row", "First cryptogram")
        self.click(".exchange > .row", "GENERATE AC")
        details = "\n".join(self.texts(".details"))
        for words in ("CNY 128.50", "Unpredictable number", "ARQC: online authorisation requested",
                      "trace line"):
            self.assertIn(words, details)
        self.browser.picture("opened")

    def test_opens_what_failed_by_itself(self):
        self.assertIn("6300", " ".join(self.texts(".exchange.failed .what")))

    def test_finds_by_tag_name_and_status_word(self):
        for wanted, there in (("9F37", "GENERATE AC"), ("unpredictable", "GENERATE AC"), ("6300", "EXTERNAL"),
                              ("A5 10", "SELECT")):
            self.search(wanted)
            names = self.texts(".exchange .name")
            self.assertTrue(names and any(there in name for name in names), f"{wanted}: {names}")
        self.search("no such word")
        self.assertEqual(self.texts("article"), [])
        self.assertEqual(len(self.texts(".nothing")), 1)
        self.search("")
        self.assertEqual(len(self.texts("article")), 3)

    def test_shows_findings_only(self):
        self.click("#only")
        self.assertEqual(len(self.texts("article")), 2)
        self.assertTrue(all("9000" not in text for text in self.texts(".exchange .what")))
        self.assertIn("the bank's cryptogram (ARPC) is wrong for this card", "\n".join(self.texts(".findings")))

    def test_has_a_light_and_a_dark_face(self):
        ground = "return getComputedStyle(document.body).backgroundColor"
        before = self.browser.run(ground)
        self.click("#theme")
        self.assertNotEqual(self.browser.run(ground), before)
        self.click("#all")
        self.browser.picture("dark")
        self.click("#theme")
        self.assertEqual(self.browser.run(ground), before)

    def test_fits_a_phone(self):
        self.browser.open(PAGE.as_uri(), 500, 900)
        # Headless windows have a least width; a frame has none.
        self.browser.run("document.body.style.width = '360px'")
        self.click("#all")
        self.assertLessEqual(self.browser.run(
            "return Math.max(...[...document.querySelectorAll('article *')].map(n => n.getBoundingClientRect().right))"),
            361)
        self.browser.picture("phone")

    def test_draws_times_to_scale(self):
        bars = self.browser.run("return [...document.querySelector('article').querySelectorAll('.step > .row .bar i')]"
                                ".map(n => parseFloat(n.style.left))")
        self.assertEqual(bars, sorted(bars))
        self.assertLess(bars[0], 1)
        self.assertGreater(bars[-1], 90)

    def test_shows_no_card_number(self):
        self.click("#all")
        self.assertNotIn("6228000100001117", self.browser.run("return document.documentElement.outerHTML"))


if __name__ == "__main__":
    if not shutil.which("chromedriver"):
        print("no browser: install chromium and chromium-driver", file=sys.stderr)
        sys.exit(77)
    unittest.main(argv=sys.argv[:1], verbosity=2)

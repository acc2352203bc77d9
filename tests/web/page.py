"""What the tests of the example page share: a real browser, Debian's Chromium, driven as a person would.

Needs chromium, chromium-driver and python3-selenium, so tools/check_web runs these tests and ./check does
not. Importing this module starts the browser; it ends with the program.
"""
import atexit
import shutil
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

from served import Served, data_folder, harness

# A fresh profile, and nothing that Chromium would fetch on its own.
OPTIONS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
           "--disable-background-networking", "--disable-component-update", "--disable-sync",
           "--disable-dev-shm-usage", "--window-size=1300,900"]
SHOWN = "return document.getElementById('main').dataset.shown === location.hash && " \
        "document.getElementById('rows').ariaBusy === 'false'"

# Every listing by its name in the page's address.
LISTINGS = ["tcpreset-listip", "tcpreset-listdns", "tcpreset-list", "malclog-detail", "malclog-dst",
            "malclog-src", "malclog-app", "malclog-table", "malclog-host", "emaillog", "ftplog",
            "telnetlog", "table-get", "qsviptable-get", "assetsobj2-list"]


def _start():
    profile = tempfile.mkdtemp(prefix="qsvmon-web-")
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for option in [*OPTIONS, f"--user-data-dir={profile}"]:
        options.add_argument(option)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    started = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)

    def end():
        started.quit()
        shutil.rmtree(profile, ignore_errors=True)

    atexit.register(end)
    return started


browser = _start()


class PageTest(harness.unittest.TestCase):
    maxDiff = None
    FILES = {}
    OPTIONS = ()
    DATA = None

    @classmethod
    def setUpClass(cls):
        folder = cls.DATA or str(data_folder(cls.FILES))
        cls.appliance = harness.Appliance(*cls.OPTIONS, data=folder)
        cls.addClassCleanup(cls.appliance.close)
        if not cls.DATA:
            shutil.rmtree(folder)
        cls.served = Served(harness.CLIENT, cls.appliance.root)
        cls.addClassCleanup(cls.served.close)

    def setUp(self):
        browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        browser.get("about:blank")
        browser.get_log("browser")

    def open(self, place):
        browser.get("about:blank")
        browser.get(self.served.address + place)
        self.settle()

    def settle(self):
        WebDriverWait(browser, 30).until(lambda b: b.execute_script(SHOWN))

    def find(self, selector):
        return browser.find_element(By.CSS_SELECTOR, selector)

    def click(self, selector):
        self.find(selector).click()
        self.settle()

    def place(self):
        return browser.execute_script("return location.hash")

    def columns(self):
        return browser.execute_script(
            "return [...document.querySelectorAll('thead th')].map((th) => th.textContent)")

    def rows(self):
        """The table's cells, a list of texts a row; entries of a list are joined by a slash."""
        return browser.execute_script(
            "return [...document.querySelectorAll('tbody tr')].map((tr) => [...tr.cells].map((td) =>"
            " td.querySelector('li') ? [...td.querySelectorAll('li')].map((li) => li.textContent).join('/')"
            " : td.textContent))")

    def column(self, name):
        at = [c.split(" ")[0] for c in self.columns()].index(name)
        return [row[at] for row in self.rows()]

    def text(self, selector):
        return browser.execute_script("return document.querySelector(arguments[0]).textContent", selector)

    def problem(self):
        """The text of the alert, empty when it is not shown."""
        alert = self.find("#problem")
        return alert.text if alert.is_displayed() else ""

    def bars(self):
        return browser.execute_script(
            "return document.getElementById('chart').hidden ? [] :"
            " [...document.querySelectorAll('#bars li')].map((li) =>"
            " [li.querySelector('span').textContent, li.querySelector('b').textContent,"
            " li.querySelector('i').style.width])")

    def expect_quiet(self):
        """Nothing on the console: no error, no refused script or style."""
        self.assertEqual([line["message"] for line in browser.get_log("browser")], [])

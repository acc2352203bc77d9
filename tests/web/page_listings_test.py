"""Every listing in the page, in a real browser: what its table shows, and the filters."""
from selenium.webdriver.support.ui import Select

from page import PageTest, browser, harness

HIT = ("azorult", "fareit × 2")
MAIL = ["10.20.0.25", "25", "8", "Mail transfer"]


class Listings(PageTest):
    def expect(self, listing, title, rows, state, bars=()):
        with self.subTest(listing):
            self.open("#" + listing)
            self.assertEqual(self.problem(), "")
            self.assertEqual(self.text("h2"), title)
            self.assertEqual(browser.title, title + " - Traffic monitor")
            self.assertEqual(self.rows(), rows)
            self.assertEqual(self.text("#state"), state)
            self.assertEqual([bar[:2] for bar in self.bars()], [list(bar) for bar in bars])
            self.assertEqual(self.text("nav a[aria-current=page]"), title)
            self.expect_quiet()

    def test_reset_sessions(self):
        first, last = "2023-11-14 22:13:20 UTC", "2023-11-14 22:14:20 UTC"
        self.expect("tcpreset-listip", "Reset sessions by address",
                    [["93.184.216.34", "2", "1", "1", last, first, "80,443"],
                     ["198.51.100.9", "2", "1", "0", "2023-11-14 22:14:50 UTC", "2023-11-14 22:13:50 UTC",
                      "80,873"]],
                    "Rows: 2 of 2", [("93.184.216.34", "2"), ("198.51.100.9", "2")])
        self.expect("tcpreset-listip?type=src", "Reset sessions by address",
                    [["10.20.1.5", "3", "2", "1", "2023-11-14 22:14:50 UTC", first,
                      "http|Web browsing,https|Secure web"],
                     ["10.20.2.7", "1", "0", "0", "2023-11-14 22:13:50 UTC", "2023-11-14 22:13:50 UTC",
                      "backup|Nightly backup"]],
                    "Rows: 2 of 2", [("10.20.1.5", "3"), ("10.20.2.7", "1")])
        self.expect("tcpreset-listdns", "Reset sessions by name",
                    [["www.example.com", "2", "1", "1", last, first, "0", "0", "1", "0", "80,443"],
                     ["files.example.net", "1", "1", "0", "2023-11-14 22:14:50 UTC", "2023-11-14 22:14:50 UTC",
                      "1", "0", "0", "0", "80"]],
                    "Rows: 2 of 2", [("www.example.com", "2"), ("files.example.net", "1")])
        self.expect("tcpreset-list", "Every reset session", [
            [first, self.local(first), "http Web browsing", "10.20.1.5", "40000", "93.184.216.34", "80",
             "0.42", "7.25", "40.96", "10", "207", "2", "www.example.com|404"],
            [last, self.local(last), "https Secure web", "10.20.1.5", "40001", "93.184.216.34", "443",
             "1.05", "0", "0", "0", "0", "1", "www.example.com"],
            ["2023-11-14 22:13:50 UTC", "2023-11-14/22:13:50", "backup Nightly backup", "10.20.2.7", "40002",
             "198.51.100.9", "873", "0", "0", "12.8", "3", "4", "5", "NULL"],
            ["2023-11-14 22:14:50 UTC", "2023-11-14/22:14:50", "http Web browsing", "10.20.1.5", "40003",
             "198.51.100.9", "80", "0", "0.1", "0", "1", "2", "3", "files.example.net|200"]],
            "Lines: 4")

    @staticmethod
    def local(clock):
        """The program's local time, which is UTC here."""
        return clock.replace(" UTC", "").replace(" ", "/")

    def test_malicious_events(self):
        hits, hole = "/".join(HIT), "sinkhole (沉洞)"
        self.expect("malclog-dst", "Events by destination",
                    [["10.20.0.53", "2", "", hits], ["203.0.113.8", "1", "", hole]],
                    "Rows: 2 of 2", [("10.20.0.53", "2"), ("203.0.113.8", "1")])
        self.expect("malclog-src", "Events by source",
                    [["10.20.1.5", "2", "front-desk", hits], ["10.20.2.7", "1", "second-floor", hole]],
                    "Rows: 2 of 2", [("10.20.1.5", "2"), ("10.20.2.7", "1")])
        self.expect("malclog-app", "Events by application",
                    [["3", "dns", "Name service", "2", hits], ["2", "https", "Secure web", "1", hole]],
                    "Rows: 2 of 2", [("Name service", "2"), ("Secure web", "1")])
        self.expect("malclog-host", "Events by host name", [["bad.example.org", "2", hits]],
                    "Rows: 1 of 1", [("bad.example.org", "2")])
        # Two kinds of objects in one table: a signature has no id and no cname.
        self.expect("malclog-table", "Events by signature",
                    [["1002", "1", "21", "1", "fareit", "2", "", ""],
                     ["1001", "1", "21", "1", "azorult", "1", "", ""],
                     ["0", "2", "0", "0", "sinkhole", "2", "9", "沉洞"]],
                    "Rows: 3 of 3", [("fareit", "2"), ("沉洞", "2"), ("azorult", "1")])

    def test_events_in_detail(self):
        self.open("#malclog-detail")
        self.assertEqual(self.rows()[0], [
            "fareit", "10.20.1.5", "40000", "10.20.0.53", "53", "3", "dns", "Name service",
            "00-16-3e-00-00-05", "2023-11-14/22:13:20", "2023-11-14 22:13:20 UTC", "17", "2 (slots 1)",
            "bad.example.org", "front-desk", "", "4", "laptop-anna", "0", "0", "1", "0"])
        self.assertEqual(self.column("list"), ["fareit", "sinkhole (沉洞)", "azorult/fareit"])
        self.assertEqual(self.bars(), [])
        self.expect_quiet()

    def test_session_logs(self):
        self.expect("emaillog", "Mails", [
            ["10.20.2.7", "40001", *MAIL, "00-00-00-00-00-00", "2023-11-14/22:15:00", "2023-11-14 22:15:00 UTC",
             "second-floor", "", "", "王芳<wang.fang@korvale.example>", "anna@korvale.example", "", "你好", "20", ""],
            ["10.20.1.5", "40000", *MAIL, "00-16-3e-00-00-05", "2023-11-14/22:13:20", "2023-11-14 22:13:20 UTC",
             "front-desk", "", "laptop-anna", "AnnaBell<anna@korvale.example>", "bo@korvale.example", "", "Re:",
             "18", "plan.xls"]], "Rows: 2 of 2")
        login = ["10.20.1.5", "40000", "172.16.1.11", "21", "00-16-3e-00-00-05", "2023-11-14 22:13:20 UTC"]
        labels = ["front-desk", "file-store", "laptop-anna", "anna"]
        self.expect("ftplog", "FTP operations", [
            [*login, "2023-11-14/22:13:29", "2023-11-14 22:13:29 UTC", *labels, "RETR", "plan.xls"],
            [*login, "2023-11-14/22:13:25", "2023-11-14 22:13:25 UTC", *labels, "USER", "anna"]],
            "Rows: 2 of 2")
        login = ["10.20.2.7", "40010", "172.16.1.11", "23", "00-16-3e-00-00-07", "2023-11-14 22:13:20 UTC"]
        self.expect("telnetlog", "Telnet commands", [
            [*login, "2023-11-14/22:13:40", "2023-11-14 22:13:40 UTC", "second-floor", "file-store", "", "bo", "ls a\\b"],
            [*login, "2023-11-14/22:13:30", "2023-11-14 22:13:30 UTC", "second-floor", "file-store", "", "bo", "ls"]],
            "Rows: 2 of 2")

    def test_tables_and_assets(self):
        self.expect("table-get", "IP tables, log daemon", [["10.20.0.53", "name server"]], "Lines: 1")
        self.expect("qsviptable-get?tid=2", "IP tables, management daemon", [["91.240.118.172", "command host"]],
                    "Lines: 1")
        self.expect("assetsobj2-list", "Asset objects",
                    [["1", "1", "1", "web-front"], ["1", "2", "2", "file-store"]], "Lines: 2")

    def test_an_unknown_place_is_the_first_listing(self):
        for place in ("", "#", "#nothing", "#constructor?a=b", "#__proto__"):
            self.open(place)
            self.assertEqual(self.text("h2"), "Reset sessions by address")
        self.expect_quiet()

    def test_filters(self):
        self.open("#emaillog")
        # The browser's own way to send a form would ask the server for another page.
        browser.execute_script("addEventListener('submit', (e) => { window.prevented = e.defaultPrevented; })")
        for keyword, sources in (("你好", ["10.20.2.7", "10.20.1.5"]), ("好你", []), ("plan", ["10.20.1.5"])):
            self.find("input[name=keywd]").clear()
            self.find("input[name=keywd]").send_keys(keyword)
            self.click("form button")
            self.assertEqual(self.column("src_ip"), sources)
            self.assertEqual(self.find("input[name=keywd]").get_attribute("value"), keyword)
            self.assertIs(browser.execute_script("return window.prevented"), True)
        self.open("#tcpreset-listip")
        Select(self.find("select[name=type]")).select_by_value("src")
        self.find("input[name=filter]").send_keys("10.20.2.")
        self.click("form button")
        self.assertEqual(self.column("ip"), ["10.20.2.7"])
        self.assertEqual(self.bars(), [["10.20.2.7", "1", "100%"]])
        self.expect_quiet()

    def test_a_blank_in_a_field_is_not_sent(self):
        self.open("#emaillog")
        self.find("input[name=keywd]").send_keys("a ip=1.2.3.4")
        self.find("form button").click()
        self.assertEqual(self.place(), "#emaillog")
        self.assertTrue(browser.execute_script("return !document.querySelector('[name=keywd]').checkValidity()"))
        self.expect_quiet()

    def test_nothing_is_fetched_from_elsewhere(self):
        self.open("#tcpreset-listip")
        names = browser.execute_script("return performance.getEntriesByType('resource').map((e) => e.name)")
        self.assertGreater(len(names), 3)
        self.assertEqual([n for n in names if not n.startswith(self.served.address)], [])


if __name__ == "__main__":
    harness.main()

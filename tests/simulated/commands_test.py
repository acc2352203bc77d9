"""Every command that is not a listing of records: the generic verbs, workers, tables, assets."""
import os

import harness

GENERIC = [  # module, its verbs beside add and list
    ("assetsgroup2", "set stat remove"),
    ("qsvdnsgrp", "set stat remove get loadfile"),
    ("qsvtable", "set stat remove"),
    ("anything", "set stat remove get load config debug"),  # by the fallback verbs
]


class GenericVerbs(harness.SimulatedTest):
    def test_what_was_added_is_listed_changed_and_removed(self):
        before = {"assetsgroup2": "id=1 pid=0 name=servers\n", "qsvtable":
                  "id=1 name=allowed\nid=2 name=blocked\n"}
        for module, _ in GENERIC:
            with self.subTest(module):
                old = before.get(module, "")
                number = old.count("\n") + 1
                self.expect(f"{module} add name=x color=red", f"id={number}\n")
                self.expect(f"{module} list", f"{old}id={number} name=x color=red\n")
                self.expect(f"{module} set name=x color=blue size=2", "")
                self.expect(f"{module} list", f"{old}id={number} name=x color=blue size=2\n")
                self.expect(f"{module} stat", f'{{"module":"{module}","items":{number}}}\n')
                self.expect(f"{module} remove name=x", "")
                self.expect(f"{module} list", old)

    def test_errors(self):
        self.expect("some add", "NO_ARGUMENT\n", 255)
        self.expect("some remove id=7", "NOT_FOUND\n", 255)
        self.expect("some set name=y a=b", "NOT_FOUND\n", 255)
        self.expect("some add id=3 name=z", "id=3\n")
        self.expect("some add id=3 name=z", "EXISTS\n", 255)
        self.expect("some load nowhere.txt", "NO_FILE\n", 255)

    def test_get_shows_what_has_all_the_words(self):
        for words in ("a=1 b=1", "a=1 b=2", "a=2 b=2"):
            self.appliance.run("picky", "add", *words.split())
        self.expect("picky get a=1", "id=1 a=1 b=1\nid=2 a=1 b=2\n")
        self.expect("picky get a=1 b=2", "id=2 a=1 b=2\n")
        self.expect("picky list page=2 limit=2", "id=3 a=2 b=2\n")
        self.expect("qsvdnsgrp get", "")

    def test_config_and_debug_are_kept(self):
        self.expect("kept config level=3", '{"module":"kept","items":0,"level":"3"}\n')
        self.expect("kept debug on", '{"module":"kept","items":0,"debug":"on","level":"3"}\n')
        self.expect("kept stat", '{"module":"kept","items":0,"debug":"on","level":"3"}\n')

    def test_the_log_daemon_serves_the_fallback_verbs_of_any_module(self):
        self.expect("qsvtable config a=1", '{"module":"qsvtable","items":0,"a":"1"}\n')

    def test_key_table_lists_the_applications_whatever_the_words(self):
        first = b"905 backup\n3 dns\n4 dot\n"
        for words in (("keytbl", "list"), ("keytbl", "list", "a", "b")):
            result = self.appliance.run(*words)
            self.assertEqual(result.out[:len(first)], first)
            self.assertEqual(result.status, 0)

    def test_modules(self):
        result = self.appliance.run("module", "list")
        self.assertEqual(
            result.out.decode().split(),
            "module qsvlog qsvquery worker disk assetsgroup2 assetsobj2 table "
            "tcpreset emaillog ftplog telnetlog malclog qsviptable qsvtable qsvdnsgrp".split())
        self.appliance.run("qsvdnsgrp", "stat")
        counted = self.appliance.run("module", "stat").out.decode().splitlines()
        self.assertEqual(len(counted), 16)
        self.assertRegex(counted[15], r"^module=qsvdnsgrp requests=[1-9]")

    def test_load_adds_every_line_of_a_file(self):
        with open(os.path.join(self.appliance.root, "names.txt"), "w") as file:
            file.write("# comment\nname=one\n\nname=two info=second\n")
        self.expect("qsvdnsgrp loadfile names.txt", "loaded=2\n")
        self.expect("qsvdnsgrp list", "id=1 name=one\nid=2 name=two info=second\n")
        self.expect("loads load file=names.txt", "loaded=2\n")


class Management(harness.SimulatedTest):
    def test_workers(self):
        two = "taskid=1 taskname=rotate type=service\ntaskid=2 taskname=index type=service\n"
        self.expect("worker list", two)
        self.expect("worker add taskname=report", "taskid=3\n", 3)
        self.expect("worker list", two + "taskid=3 taskname=report type=query\n")
        self.expect("worker list type=query", "taskid=3 taskname=report type=query\n")
        self.expect("worker stat taskid=3",
                    "taskid=3\ntaskname=report\ntype=query\nstate=running\n")
        self.expect("worker stat", "tasks=3\n")
        self.expect("worker stat taskid=9", "NO_TASK\n", 255)
        self.expect("worker add type=query", "NO_TASKNAME\n", 255)

    def test_disk(self):
        self.expect("disk stat", "mount=/ device=d0p2 size=8.00G used=3.00G \n"
                                 "mount=/usr/qsvlog device=d0p3 size=512.00M used=1.50K \n")

    def test_daemon_status(self):
        log = self.appliance.run("qsvlog", "stat", "tag=x").out.decode()
        self.assertRegex(log, r"^module=qsvlog\ntag=x\nrequests=\d+\nstarted=\d{4}-\d\d-\d\d/\S+\n$")
        query = self.appliance.run("qsvquery", "stat", "ignored").out.decode()
        self.assertRegex(query, r'^{"module":"qsvquery","requests":\d+,"started":"\S+"}\n$')


class IpTables(harness.SimulatedTest):
    def test_log_daemon_tables(self):
        self.expect("table addip 5 10.1.1.1", "")
        self.expect("table addip tid=5 ip=10.1.1.4 info=x", "")
        self.expect("table addip 5 10.1.1.2-10.1.1.3", "")
        self.expect("table get 5", "10.1.1.1\n10.1.1.4\n10.1.1.2\n10.1.1.3\n")
        self.expect("table get tid=5 info=1", "10.1.1.1\n10.1.1.4 x\n10.1.1.2-10.1.1.3\n")
        self.expect("table getcmp 5", "10.1.1.1-10.1.1.4\n")
        self.expect("table rmvip 5 10.1.1.4", "")
        self.expect("table getcmp 5", "10.1.1.1-10.1.1.3\n")
        self.expect("table rmvip 5 10.1.1.4", "NOT_FOUND\n", 255)
        self.expect("table clear 5", "")
        self.expect("table get 5", "")
        self.expect("table getcmp 5", "")

    def test_management_daemon_tables(self):
        self.expect("qsviptable addip tid=9 ip=10.9.0.0/30 info=lab", "")
        self.expect("qsviptable get tid=9", "10.9.0.0\n10.9.0.1\n10.9.0.2\n10.9.0.3\n")
        self.expect("qsviptable getcmp tid=9", "10.9.0.0-10.9.0.3\n")
        self.expect("qsvtable get tid=9", "")  # the forward prints text replies alone
        self.expect("qsvtable get tid=9 info=1", "10.9.0.0-10.9.0.3 lab\n")
        self.expect("qsvtable list", "id=1 name=allowed\nid=2 name=blocked\nid=9 name=9\n")
        self.expect("qsviptable remove tid=9 ip=10.9.0.0/30", "")
        self.expect("qsviptable get tid=9", "")
        self.expect("qsviptable addip table=blocked ip=1.2.3.4", "")
        self.expect("qsviptable get 2", "91.240.118.172\n1.2.3.4\n")
        self.expect("qsviptable clear table=blocked", "")
        self.expect("qsviptable get 2", "")
        self.expect("qsvtable remove id=9", "")
        self.expect("qsviptable get tid=9", "NO_TABLE\n", 255)

    def test_tables_of_the_two_daemons_are_apart(self):
        self.expect("table get allowed", "10.20.0.53\n")
        self.expect("qsviptable get allowed", "10.20.0.8\n10.20.0.9\n")

    def test_a_file_of_addresses(self):
        with open(os.path.join(self.appliance.root, "list.txt"), "w") as file:
            file.write("10.3.0.1 gate\n10.3.0.7-10.3.0.9\nnonsense\n")
        self.expect("table loadfile 7 list.txt", "loaded=2\n")
        self.expect("table get 7 info=1", "10.3.0.1 gate\n10.3.0.7-10.3.0.9\n")
        self.expect("qsviptable loadfile tid=7 file=list.txt", "loaded=2\n")
        self.expect("qsviptable getcmp tid=7", "10.3.0.1\n10.3.0.7-10.3.0.9\n")

    def test_errors(self):
        self.expect("table get nosuch", "NO_TABLE\n", 255)
        self.expect("table addip 5 10.1.1.256", "INV_IP\n", 255)
        self.expect("table addip 5 10.1.1.3-10.1.1.2", "INV_IP\n", 255)
        self.expect("table addip 5 10.1.1.3-", "INV_IP\n", 255)
        self.expect("table addip 5 10.1.1.3-10.1.1.3", "")
        self.expect("table get 5", "10.1.1.3\n")
        self.expect("table addip 5 10.0.0.0/8", "RANGE_TOO_LARGE\n", 255)
        self.expect("table clear nosuch", "NO_TABLE\n", 255)
        self.expect("table loadfile 5 nosuch.txt", "NO_FILE\n", 255)

    def test_a_table_that_outgrows_the_area_comes_in_batches(self):
        self.expect("table addip 6 10.64.0.0/16", "")
        self.expect("table addip 6 10.65.0.0/16", "")
        for block in range(16):
            self.appliance.run("table", "addip", "6", f"10.{66 + block}.0.0/16")
        out = self.appliance.run("table", "get", "6").out  # 18 * 65536 * 4 bytes, 2 MiB at a time
        lines = out.splitlines()
        self.assertEqual(len(lines), 18 * 65536)
        self.assertEqual(lines[0], b"10.64.0.0")
        self.assertEqual(lines[524288], b"10.72.0.0")
        self.assertEqual(lines[-1], b"10.81.255.255")


class Assets(harness.SimulatedTest):
    def test_objects_list_in_pages(self):
        first = "1 1 1 web-front\n"
        second = "1 2 2 file-store\n"
        self.expect("assetsobj2 list", first + second)
        self.expect("assetsobj2 add pid=1 name=printer value=10.0.0.9", "id=3\n")
        self.expect("assetsobj2 list page=1 limit=2", first + second)
        self.expect("assetsobj2 list page=2 limit=2", "1 3 3 printer\n")
        self.expect("assetsobj2 list page=3 limit=2", "")
        self.expect("assetsobj2 list page=0", "INV_PAGE_LIMIT\n", 255)
        self.expect("assetsobj2 set id=3 name=plotter", "")
        self.expect("assetsobj2 stat", '{"module":"assetsobj2","items":3}\n')
        self.expect("assetsobj2 list limit=1 page=3", "1 3 3 plotter\n")
        self.expect("assetsobj2 remove id=3", "")
        self.expect("assetsobj2 list", first + second)


class AssetsInBatches(harness.SimulatedTest):
    OPTIONS = ("--batch", "1")

    def test_every_batch_is_shown(self):
        self.expect("assetsobj2 list", "1 1 1 web-front\n1 2 2 file-store\n")


if __name__ == "__main__":
    harness.main()

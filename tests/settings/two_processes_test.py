"""Two consoles on one settings file: each brings what it changed, and nothing of the other is lost."""

import xml.etree.ElementTree

import settings_host
import sweep


def names_of(folder, container):
    root = xml.etree.ElementTree.parse(folder / "kiv.xml").getroot()
    path = f"SESSION[@ID='1']/INSTANCE[@ID='1']/DEFAULT/{container}/CMD"
    return [entry.get("NAME") for entry in root.findall(path)]


class TwoProcessesTest(settings_host.FolderCase):
    def test_bring_the_union_of_their_histories(self):
        count = sweep.count(1000)
        hosts = [settings_host.Host(), settings_host.Host()]
        for host in hosts:
            self.assertEqual("0", host.ask(f"folder {self.folder}"))
            self.assertRegex(host.ask("open"), r"^0 ")
        for host, name in zip(hosts, "ab"):
            host.tell(f"appends {name} {count}")
        self.assertEqual(["0", "0"], [host.answer() for host in hosts])
        for host in hosts:
            self.assertEqual("0", host.ask("close"))
            host.end()
        names = names_of(self.folder, "HISTORY_CMD")
        for name in "ab":
            self.assertEqual([f"{name}{i}" for i in range(count)],
                             [entry for entry in names if entry.startswith(name)])
        self.assertEqual(2 * count, len(names))
        self.assertEqual([], [p.name for p in self.folder.iterdir()
                              if "corrupt" in p.name or p.name.endswith(".tmp")])

    def test_keep_each_others_values(self):
        first, second = settings_host.Host(), settings_host.Host()
        for host in (first, second):
            host.ask(f"folder {self.folder}")
            self.assertRegex(host.ask("open"), r"^0 ")
        self.assertEqual(["0", "0"], [first.ask("title mine"), first.ask("save")])
        self.assertEqual(["0", "0"], [second.ask("font Yours"), second.ask("save")])
        self.assertEqual(["0", "0"], [first.ask("favourites 3"), first.ask("save")])
        for host in (first, second):
            host.ask("close")
            host.end()
        root = xml.etree.ElementTree.parse(self.folder / "kiv.xml").getroot()
        popular = root.find("SESSION/INSTANCE/DEFAULT/POPULAR")
        self.assertEqual(("mine", "Yours"), (popular.get("TITLE"), popular.get("FONT_NAME")))
        self.assertEqual(3, len(names_of(self.folder, "FAVORATE_CMD")))

    def test_of_one_value_the_last_store_holds(self):
        first, second = settings_host.Host(), settings_host.Host()
        for host in (first, second):
            host.ask(f"folder {self.folder}")
            host.ask("open")
        first.ask("title one")
        second.ask("title two")
        self.assertEqual(["0", "0"], [second.ask("save"), first.ask("save")])
        self.assertRegex(second.ask("check"), r"^0 \[one\] ")
        for host in (first, second):
            host.end()

"""The tests of the texts find faults of each kind.

Usage: faults.py PROJECT PROGRAMS BUILD"""

import contextlib
import pathlib
import sys
import tempfile
import unittest

import listing
import scenes
import texts
from blocks import Checks
from names import Names

project, programs, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])


class FaultTest(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def text(self, content: str, name: str = "text.md") -> texts.Text:
        path = self.folder / name
        path.write_text(content, encoding="utf-8")
        return texts.read(path, project)


class NamesTest(FaultTest):
    names = Names(project, programs, build)

    def faultsOf(self, content: str, name: str = "text.md") -> list[str]:
        self.names.faults = []
        self.names.look(self.text(content, name))
        return self.names.faults

    def expectOne(self, content: str, part: str, name: str = "text.md") -> None:
        faults = self.faultsOf(content, name)
        self.assertEqual(len(faults), 1, faults)
        self.assertIn(part, faults[0])

    def testWhatIsThereIsFine(self) -> None:
        self.assertEqual(self.faultsOf("`Sources/TavoControl`, `scripts/in-machine --bind A:B C`, `--json`,\n"
                                       "`tavoctl run --always`, `config/AppConfig.h`, `TavoAppModel`,\n"
                                       "`/usr/bin/caffeinate`, [here](README.md#install)\n"), [])

    def testAPath(self) -> None:
        self.expectOne("in `Sources/Nowhere/File.cpp`", "text.md:1: there is no Sources/Nowhere/File.cpp")
        self.expectOne("in `macos/NoSuch.mm`", "there is no macos/NoSuch.mm")
        self.expectOne("of `/usr/libexec/tavo/no-such-program`", "nothing of the project knows")

    def testAnOption(self) -> None:
        self.expectOne("\n\nwith `--no-such-option`", "text.md:3: no program has the option --no-such-option")
        self.expectOne("`tavoctl status --always`", "tavoctl status has no option --always")
        self.expectOne("`scripts/build --fast`", "scripts/build has no option --fast")
        self.expectOne("as `scripts/run --no-preset`", "scripts/run has no option --no-preset")
        self.expectOne("```sh\nmake && sudo systemctl --sideways\n```", "no option --sideways of systemctl is known")
        self.expectOne("in prose, --no-such-option", "no program has the option")
        self.expectOne(".It Fl -no-such-option Ar X", "no program has the option --no-such-option", "page.1")
        self.expectOne("With \\-\\-no-such-option,", "no program has the option --no-such-option", "page.1")
        self.expectOne(".Dl tavoctl status \\-\\-always", "tavoctl status has no option --always", "page.1")

    def testAPage(self) -> None:
        self.expectOne("see `tavo(9)`", "there is no page tavo(9)")
        self.expectOne(".Xr nothing 1 ,", "there is no page nothing(1)", "page.1")
        self.expectOne(".It Pa /run/com.vrd.tavo.helper/overides.json", "nothing of the project knows", "page.1")

    def testACommand(self) -> None:
        self.expectOne("`tavoctl fly`", "tavoctl has no command fly")
        self.expectOne("```sh\ntavoctl helper fly    # into the sky\n```", "tavoctl helper has no command fly")
        self.expectOne("```\n$ tavoctl fly\nhigh\n```", "tavoctl has no command fly")

    def testANameOrATest(self) -> None:
        self.expectOne("by `TavoNothingModel`", "nothing of the project is called TavoNothingModel")
        self.expectOne("`form.NobodyWroteThisTest`", "there is no test form.NobodyWroteThisTest")

    def testALink(self) -> None:
        self.expectOne("[here](docs/nowhere.md)", "the link docs/nowhere.md leads nowhere")
        self.expectOne("[here](README.md#nothing-of-the-kind)", "README.md has no heading #nothing-of-the-kind")
        self.expectOne("[there](https://example.org/)", "is not known")
        self.expectOne('<img src="docs/pictures/nothing.png">', "leads nowhere")

    def testAFinding(self) -> None:
        table = "| `tavoctl doctor` says | Do |\n|---|---|\n| `the power source is unknown` | wait |\n"
        self.expectOne(table + "| `all is lost` | wait |\n", "text.md:4: doctor does not say: all is lost")

    def testAPromiseWithoutATest(self) -> None:
        for keeper in ("everybody", "`forn.TheModulesAreThoseOfThePicture`", ""):
            self.names.faults = []
            self.names.lookAtPromises(self.text(f"| Promise | Kept by |\n|---|---|\n| It works. | {keeper} |\n"))
            self.assertIn("no test that exists keeps the promise: It works.", self.names.faults[0])
        self.names.faults = []
        self.names.lookAtPromises(self.text("| It works. | `form.TheModulesAreThoseOfThePicture` |\n"))
        self.assertEqual(self.names.faults, [])


class BlocksTest(FaultTest):
    def entries(self, content: str) -> list[listing.Entry]:
        path = self.folder / "blocks.txt"
        path.write_text(content, encoding="utf-8")
        return listing.readEntries(path)

    def faultsOf(self, block: str, way: str) -> list[str]:
        text = self.text(block)
        pairs, faults = listing.assign(text.blocks, self.entries(f"[text.md]\n{text.blocks[0].key}\n    {way}\n"))
        self.assertEqual(faults, [])
        checks = Checks(programs, NamesTest.names)
        checks.check(*pairs[0])
        return checks.faults

    def testABlockAndAnEntryHaveEachOther(self) -> None:
        text = self.text("```sh\necho  one\n```\n\n```sh\necho two\n```\n")
        entries = self.entries("[text.md]\necho one\n    hand: so\necho three\n    hand: so\n")
        _, faults = listing.assign(text.blocks, entries)
        self.assertEqual(faults, ["text.md:5: blocks.txt does not say how this block is checked: echo two",
                                  "blocks.txt:5: text.md has no such block: echo three"])

    def testAnEntrySaysHowAndWhy(self) -> None:
        for way in ("somehow", "hand:", "scene"):
            with self.assertRaises(ValueError):
                self.entries(f"[text.md]\necho one\n    {way}\n")
        with self.assertRaises(ValueError):
            self.entries("[text.md]\necho one\n")

    def testAConfiguration(self) -> None:
        complete = """{"batteryCutoffPercent": null, "isEnabled": true, "launchAtLoginEnabled": false,
            "maxAwakeDuration": "none", "pollIntervalSeconds": 60, "powerSourcePolicy": "any",
            "trigger": {"preset": "codex", "query": "codex"}, "watchMode": "open"}"""
        self.assertEqual(self.faultsOf(f"```json\n{complete}\n```", "config"), [])
        misspelt = complete.replace('"watchMode"', '"watchmode"')
        self.assertIn("watchMode", self.faultsOf(f"```json\n{misspelt}\n```", "config")[0])

    def testATrigger(self) -> None:
        rule = '{"mode": "process", "matchStrategy": "executableName", "query": "rsync"}'
        self.assertEqual(self.faultsOf(f"```json\n{rule}\n```", "trigger"), [])
        self.assertNotEqual(self.faultsOf("```json\n" + rule.replace("process", "no") + "\n```", "trigger"), [])

    def testAState(self) -> None:
        state = ('{"isEnabled": true, "isWakeAssertionActive": true, "lastDecisionReason": "active", '
                 '"matchedProcesses": []}')
        self.assertEqual(self.faultsOf(f"```json\n{state}\n```", "state"), [])
        self.assertNotEqual(self.faultsOf("```json\n" + state.replace('"active"', '"happy"') + "\n```", "state"), [])

    def testAHistory(self) -> None:
        line = '{"event":"start","pid":1,"program":"tavo","startTime":2,"time":"2026-11-21T21:40:02Z"}'
        self.assertEqual(self.faultsOf(f"```json\n{line}\n```", "history"), [])
        misspelt = line.replace("startTime", "began")
        self.assertIn("1 lines are not read", self.faultsOf(f"```json\n{misspelt}\n```", "history")[0])

    def testADiagram(self) -> None:
        good = 'flowchart LR\n    a["<b>TavoAppModel</b>"] --> b["<b>runtime</b>"]\n'
        self.assertEqual(self.faultsOf(f"```mermaid\n{good}```", "diagram"), [])
        for old, new, part in (("TavoAppModel", "TavoNothingModel", "called TavoNothingModel"),
                               ("<b>runtime", "<b>no runtime", "called no runtime"),
                               ("-->", "--> d\n    a -->", "declares no d")):
            self.assertIn(part, " ".join(self.faultsOf(f"```mermaid\n{good.replace(old, new)}```", "diagram")))
        sequence = "sequenceDiagram\n    participant one\n    one->>two: evaluate\n"
        self.assertIn("declares no two", self.faultsOf(f"```mermaid\n{sequence}```", "diagram")[0])

    def testATestThatIsNone(self) -> None:
        faults = self.faultsOf("```sh\nls\n```", "test form.NobodyWroteThisTest: does it")
        self.assertIn("form.NobodyWroteThisTest", faults[0])


class ScenesTest(FaultTest):
    def faultsOf(self, block: str, *modes: str) -> list[str]:
        (self.folder / "plain.bash").write_text("exec bash --norc --noprofile\n")
        scene = scenes.Scene(self.folder, "plain", self.folder)
        with contextlib.ExitStack() as ending:
            ending.callback(scene.shell.kill)
            ending.callback(scene.shell.stdout.close)
            faults = scenes.perform(scene, self.text(block).blocks[0], scenes.Modes(list(modes)))
            return faults + scene.end()

    def testACommandThatFails(self) -> None:
        self.assertEqual(self.faultsOf("```sh\nx=1    # kept\ntest \"$x\" = 1\n```"), [])
        self.assertIn("status 1 instead of 0", self.faultsOf("```sh\ntrue\nfalse\n```")[0])
        self.assertIn("status 0 instead of 64", self.faultsOf("```sh\ntrue\n```", "status=64")[0])
        self.assertEqual(self.faultsOf("```sh\ncat <<'END'\none\nEND\nbash -c 'exit 64'\n```", "status=64"), [])

    def testWhatIsPrinted(self) -> None:
        several = "$ echo 'process id 12 at 09:15:00'; echo more\nprocess  id 7 at 23:59:01\n..."
        self.assertEqual(self.faultsOf(f"```\n{several}\n```"), [])
        self.assertIn("instead of", self.faultsOf("```\n$ echo one\ntwo\n```")[0])
        self.assertIn("instead of", self.faultsOf("```\n$ echo one; echo two\none\n```")[0])
        self.assertIn("instead of", self.faultsOf("```\n$ true\none\n```")[0])

    def testACommandThatRunsOn(self) -> None:
        waits = "signal.signal(signal.SIGINT, lambda *_: exit(0)); print('begun', flush=True); signal.pause()"
        runsOn = f'python3 -c "import signal; {waits}"'
        self.assertEqual(self.faultsOf(f"```\n$ {runsOn}\nbegun\n```", "interrupted"), [])
        self.assertEqual(self.faultsOf(f"```\n$ {runsOn}\nbegun\n```", "background"), [])
        self.assertIn("instead of", self.faultsOf(f"```\n$ {runsOn}\nended\n```", "background")[0])
        self.assertIn("status 130", self.faultsOf("```sh\nsleep 100\n```", "until=true")[0])
        badly = runsOn.replace("exit(0)", "exit(3)")
        self.assertIn("status 3", self.faultsOf(f"```sh\n{badly}\n```", "interrupted")[0])

    def testAWordOfTheReadersOwn(self) -> None:
        self.assertEqual(self.faultsOf("```sh\ntest 4711 = 12\n```", "4711=12"), [])
        with self.assertRaises(ValueError):
            scenes.Modes(["sideways"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

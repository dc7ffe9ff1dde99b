import { useLive } from "../../api/events";
import type { ViewProps } from "../../app/views";
import { useActions } from "../../ui/actions";
import { Empty, Failed } from "../../ui/empty";
import { HistoryIcon } from "../../ui/icons";
import { Split } from "../../ui/split";
import { Tabs } from "../../ui/tabs";
import { ViewFrame } from "../../ui/view";
import { formatCount, plural } from "../../util/format";
import { useLoad } from "../../util/hooks";
import { fileOf, goTo, placeOf } from "./address";
import { loadStores } from "./data";
import { FilePane } from "./file_pane";
import "../../styles/lists.css";
import "./files.css";
import { Folders } from "./folders";
import { Search } from "./search";
import { TimelineList } from "./timeline";

const tabs = [
  { id: "timeline", title: "Timeline" },
  { id: "folders", title: "Folders" },
  { id: "search", title: "Search" },
] as const;

export default function FilesView(props: ViewProps) {
  const place = placeOf(props);
  const stores = useLoad(loadStores, []);
  useLive(["store"], () => stores.reload());
  const file = fileOf(place);
  useActions(
    tabs.map((tab, index) => ({
      id: `files.${tab.id}`,
      title: `Show the ${tab.title.toLowerCase()}`,
      group: "Files",
      keys: String(index + 1),
      run: () => goTo(place, { part: tab.id }),
    })),
  );
  const known = stores.value ?? [];
  const list = (
    <Tabs label="Files" tabs={tabs} value={place.part} onChange={(part) => goTo(place, { part, options: "" })}>
      {stores.error && !stores.value ? (
        <Failed error={stores.error} />
      ) : place.part === "timeline" ? (
        <TimelineList place={place} stores={known} />
      ) : place.part === "folders" ? (
        <Folders place={place} stores={known} />
      ) : (
        <Search place={place} />
      )}
    </Tabs>
  );
  const files = known.reduce((sum, store) => sum + store.files, 0);
  return (
    <ViewFrame
      title="Files"
      about={
        stores.value && (
          <>
            {plural(known.filter((store) => store.category !== "configuration").length, "store")}, {formatCount(files)}{" "}
            files
          </>
        )
      }
    >
      <Split
        id="files"
        label="Width of the list"
        initialRem={26}
        leastRem={16}
        showSecond={file !== undefined}
        first={list}
        second={
          file ? (
            <FilePane
              key={`${file.store} ${file.key.encoded}`}
              file={file}
              place={place}
              root={known.find((store) => store.id === file.store)?.root ?? ""}
            />
          ) : (
            <Empty icon={HistoryIcon} title="Choose a save or a file">
              <p>Its versions appear here, and what changed between any two of them.</p>
            </Empty>
          )
        }
      />
    </ViewFrame>
  );
}

import { useState } from "preact/hooks";
import {
  listHosts,
  nameSession,
  openSession,
  removeHost,
  saveHost,
  wrongName,
  type Host,
} from "../../terminal/sessions";
import { Button, IconButton } from "../../ui/button";
import { confirm, Dialog } from "../../ui/dialog";
import { TextField } from "../../ui/field";
import { TerminalIcon, TrashIcon } from "../../ui/icons";
import { complain, toast } from "../../ui/toast";
import { useLoad } from "../../util/hooks";

interface OpenDialogProps {
  onOpened(id: string): void;
  onClose(): void;
}

function Hosts({ hosts, onOpen, onRemove }: { hosts: Host[]; onOpen(host: Host): void; onRemove(host: Host): void }) {
  return (
    <section>
      <h3 class="small soft">Saved hosts</h3>
      <ul class="hosts">
        {hosts.map((host) => (
          <li key={host.name} class="row">
            <button type="button" class="menu-item grow" onClick={() => onOpen(host)}>
              <TerminalIcon size={16} />
              <strong>{host.name}</strong>
              <span class="mono faint truncate">{host.cmd}</span>
            </button>
            <IconButton small label={`Remove the host ${host.name}`} icon={TrashIcon} onClick={() => onRemove(host)} />
          </li>
        ))}
      </ul>
    </section>
  );
}

/// Opens a terminal by a command or by a saved host, and saves a command as a host.
export function OpenDialog({ onOpened, onClose }: OpenDialogProps) {
  const [cmd, setCmd] = useState("");
  const [name, setName] = useState("");
  const [busy, setBusy] = useState(false);
  const hosts = useLoad(listHosts, []);
  const wrong = name === "" ? undefined : wrongName(name);

  const open = async (how: { cmd?: string; host?: string }, alias: string) => {
    setBusy(true);
    try {
      const id = await openSession(how);
      if (alias) await nameSession(id, alias).catch(complain);
      onOpened(id);
      onClose();
    } catch (error) {
      complain(error);
      setBusy(false);
    }
  };
  const remove = async (host: Host) => {
    if (
      !(await confirm({
        title: `Remove the host ${host.name}?`,
        body: <code>{host.cmd}</code>,
        action: "Remove",
        danger: true,
      }))
    )
      return;
    await removeHost(host.name).catch(complain);
    hosts.reload();
  };
  const save = async () => {
    try {
      await saveHost(name, { cmd });
      toast(`Saved. From now on "${name}" is in this list, and mb mterm ${name.toLowerCase()} opens it.`);
      hosts.reload();
    } catch (error) {
      complain(error);
    }
  };

  const submit = (event: Event) => {
    event.preventDefault();
    if (!busy && !wrong) void open({ cmd }, name);
  };
  return (
    <Dialog
      title="Open a terminal"
      onClose={onClose}
      foot={
        <>
          <Button onClick={onClose}>Cancel</Button>
          <Button onClick={save} disabled={!cmd.trim() || !name || Boolean(wrong)}>
            Save as host
          </Button>
          <Button kind="primary" busy={busy} disabled={Boolean(wrong)} onClick={submit}>
            Open
          </Button>
        </>
      }
    >
      <form class="stack form" onSubmit={submit}>
        <TextField
          label="Command"
          value={cmd}
          onText={setCmd}
          placeholder="your shell"
          class="mono"
          data-autofocus
          hint="Empty for your shell. It starts at home and goes on when the page is closed."
        />
        <TextField
          label="Name"
          value={name}
          onText={setName}
          placeholder="none"
          hint={wrong ?? "By which it can be found, and under which a host is saved"}
          aria-invalid={Boolean(wrong)}
        />
        <button type="submit" hidden />
      </form>
      {hosts.value && hosts.value.length > 0 && (
        <Hosts
          hosts={hosts.value}
          onOpen={(host) => void open({ host: host.name }, "")}
          onRemove={(host) => void remove(host)}
        />
      )}
    </Dialog>
  );
}

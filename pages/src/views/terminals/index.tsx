import { Empty } from '../../ui/empty';
import { TerminalIcon } from '../../ui/icons';
import { ViewFrame } from '../../ui/view';

export default function TerminalsView() {
  return (
    <ViewFrame title="Terminals">
      <Empty icon={TerminalIcon} title="Nothing here yet" />
    </ViewFrame>
  );
}

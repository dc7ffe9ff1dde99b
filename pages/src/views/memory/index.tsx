import { Empty } from '../../ui/empty';
import { MemoryIcon } from '../../ui/icons';
import { ViewFrame } from '../../ui/view';

export default function MemoryView() {
  return (
    <ViewFrame title="Memory">
      <Empty icon={MemoryIcon} title="Nothing here yet" />
    </ViewFrame>
  );
}

import { Empty } from '../../ui/empty';
import { ChatIcon } from '../../ui/icons';
import { ViewFrame } from '../../ui/view';

export default function ChatView() {
  return (
    <ViewFrame title="Chat">
      <Empty icon={ChatIcon} title="Nothing here yet" />
    </ViewFrame>
  );
}

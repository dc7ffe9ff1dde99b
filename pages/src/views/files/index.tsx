import { Empty } from '../../ui/empty';
import { FilesIcon } from '../../ui/icons';
import { ViewFrame } from '../../ui/view';

export default function FilesView() {
  return (
    <ViewFrame title="Files">
      <Empty icon={FilesIcon} title="Nothing here yet" />
    </ViewFrame>
  );
}

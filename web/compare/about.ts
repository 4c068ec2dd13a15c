import build from 'zarngi-build';
import { byId } from '../views/dom';

export function setUpAbout(): void {
    const dialog = byId<HTMLDialogElement>('about');
    byId('about-version').textContent = build ? `zarngi ${build}` : 'A build without a version.';
    byId('about-open').addEventListener('click', () => dialog.showModal());
}

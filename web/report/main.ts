import { showComparison, showFailure } from '../views/page';
import { PageData } from './pageData';

async function start(): Promise<void> {
    await showComparison(new PageData());
}

start().catch(showFailure);

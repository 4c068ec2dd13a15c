import { showComparison, showFailure } from '../views/page';
import { showEvaluation } from './evaluation';
import { PageData } from './pageData';
import { isEvaluation, readDocument } from './pageRecord';

async function start(): Promise<void> {
    const document = readDocument();
    if (isEvaluation(document)) {
        showEvaluation(document);
    } else {
        await showComparison(new PageData(document));
    }
}

start().catch(showFailure);

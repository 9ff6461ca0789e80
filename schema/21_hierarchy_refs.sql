-- Product categories and the company organisation, and the least of the tables of other modules
-- (accounts, products, partners, process operations, employees, stock documents) that the coded
-- hierarchies read to tell whether a record is in use. Codes follow the rule "22222"; each tree has
-- three levels and one record whose parent code does not exist.

-- Accounting subjects.
CREATE TABLE kmdkjkm (
  科目ID INTEGER PRIMARY KEY,
  科目编码 TEXT,
  科目名称 TEXT,
  是否存货科目 INTEGER NOT NULL DEFAULT 0,
  是否往来核算 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO kmdkjkm (科目ID, 科目编码, 科目名称, 是否存货科目, 是否往来核算) VALUES
  (1, '1211', '原材料', 1, 0),
  (2, '1243', '库存商品', 1, 0),
  (3, '1131', '应收账款', 0, 1),
  (4, '2121', '应付账款', 0, 1),
  (5, '1201', '物资采购', 1, 0),
  (6, '5101', '主营业务收入', 0, 0);

-- Product categories; 对应科目编号 is the stock subject's code, the other two subjects are ids.
CREATE TABLE kmdcplb (
  类别ID INTEGER PRIMARY KEY,
  类别编码 TEXT,
  类别名称 TEXT,
  是否明细 INTEGER NOT NULL DEFAULT 1,
  级次 INTEGER,
  备注 TEXT,
  对应科目编号 TEXT,
  应付科目ID INTEGER,
  应收科目ID INTEGER,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO kmdcplb (类别ID, 类别编码, 类别名称, 是否明细, 级次, 备注, 对应科目编号, 应付科目ID, 应收科目ID, 是否系统) VALUES
  (1, '01', '原材料', 0, 1, '', '1211', 0, 0, 1),
  (2, '0101', '金属材料', 0, 2, '', '1211', 0, 0, 0),
  (3, '010101', '钢材', 1, 3, '', '1211', 4, 0, 0),
  (4, '010102', '铝材', 1, 3, '', '1211', 0, 0, 0),
  (5, '0102', '塑料', 1, 2, '', '1201', 0, 0, 0),
  (6, '02', '成品', 0, 1, '', '1243', 0, 3, 0),
  (7, '0201', '电子产品', 1, 2, '', '1243', 0, 3, 0),
  (8, '03', '辅料', 1, 1, '', '1201', 0, 0, 0),
  (9, '0901', '外购件', 1, 2, '上级编码不存在', '1201', 0, 0, 0);

-- Products: steel (two items) and plastics sit in leaves with siblings, the phones in the only
-- child of finished goods. The catalogue's schema (55_catalogue.sql) adds more of them.
CREATE TABLE KMDCPML (
  产品ID INTEGER PRIMARY KEY,
  物品编码 TEXT DEFAULT '',
  物品名称 TEXT DEFAULT '',
  产品类别ID INTEGER,
  规格 TEXT DEFAULT '',
  助忆词 TEXT DEFAULT '',
  物品产地 TEXT DEFAULT '',
  条形码 TEXT DEFAULT '',
  颜色 TEXT DEFAULT '',
  特性 TEXT DEFAULT '',
  尺寸 TEXT DEFAULT '',
  图号 TEXT DEFAULT '',
  物品说明 TEXT DEFAULT '',
  短缺限额 REAL NOT NULL DEFAULT 0,
  超储限额 REAL NOT NULL DEFAULT 0,
  参考进价 REAL NOT NULL DEFAULT 0,
  参考零售价 REAL NOT NULL DEFAULT 0,
  参考税额 REAL NOT NULL DEFAULT 0,
  参考批发价 REAL NOT NULL DEFAULT 0,
  损耗率 REAL NOT NULL DEFAULT 0,
  保质期 REAL NOT NULL DEFAULT 0,
  缺省货位 TEXT DEFAULT '',
  换算比例 REAL NOT NULL DEFAULT 0,
  是否使用 INTEGER NOT NULL DEFAULT 1,
  是否需批次管理 INTEGER NOT NULL DEFAULT 0,
  ABC码 TEXT DEFAULT '',
  库存单位 TEXT DEFAULT '',
  重量单位 TEXT DEFAULT '',
  工艺路线ID INTEGER NOT NULL DEFAULT 0,
  主往来ID INTEGER NOT NULL DEFAULT 0,
  采购提前期 REAL NOT NULL DEFAULT 0,
  来源ID INTEGER NOT NULL DEFAULT 0,
  是否需单件管理 INTEGER NOT NULL DEFAULT 0,
  订货批量 REAL NOT NULL DEFAULT 0,
  是否需保质期管理 INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX KMDCPML_类别编码 ON KMDCPML (产品类别ID, 物品编码);
CREATE INDEX KMDCPML_编码 ON KMDCPML (物品编码);
CREATE INDEX KMDCPML_名称 ON KMDCPML (物品名称);
INSERT INTO KMDCPML (产品ID, 物品编码, 物品名称, 产品类别ID, 规格, 库存单位, 参考进价, ABC码) VALUES
  (1, 'A001', '钢板', 3, '2mm', '千克', 5.2, 'A'),
  (2, 'A002', '钢管', 3, 'DN50', '米', 18, 'B'),
  (3, 'B001', 'PVC粒子', 5, '', '千克', 9.5, 'C'),
  (4, 'C001', '手机', 7, 'X1', '个', 800, 'A');

-- Business partners; 类型ID is the contact type (kmdlxlx), 属性 1 supplier, 2 customer.
CREATE TABLE KMDWLDW (
  往来ID INTEGER PRIMARY KEY,
  公司编号 TEXT,
  公司名称 TEXT,
  助忆词 TEXT,
  地址 TEXT,
  属性 INTEGER NOT NULL DEFAULT 0,
  类型ID INTEGER,
  销售员ID INTEGER,
  是否明细 INTEGER NOT NULL DEFAULT 1,
  是否停用 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDWLDW (往来ID, 公司编号, 公司名称, 助忆词, 地址, 属性, 类型ID, 销售员ID, 是否明细, 是否停用) VALUES
  (1, 'C001', '华美贸易', 'HMMY', '上海市', 2, 7, 2, 1, 0),
  (2, 'C002', '宏达电子', 'HDDZ', '深圳市', 2, 7, 2, 1, 0),
  (3, 'C003', '远洋进出口', 'YYJCK', '香港', 2, 8, 3, 1, 0),
  (4, 'S001', '宝钢供应', 'BGGY', '上海市', 1, 3, 0, 1, 0);

-- A partner with the code of its contact type.
CREATE VIEW vtKMDWLDW AS
  SELECT w.*, t.编码 AS 类型编码
  FROM KMDWLDW w LEFT JOIN kmdlxlx t ON t.联系类型ID = w.类型ID;

-- Process operations, filed under process categories (KMDSRLB); 类别ID 0 files one under the
-- root. 车间ID is the workshop (kmdbm). More operations are in 60_process.sql.
CREATE TABLE KMDsr (
  工艺ID INTEGER PRIMARY KEY,
  编号 TEXT,
  简称 TEXT,
  工艺名称 TEXT,
  工艺性质 TEXT,
  工时类型 TEXT,
  车间ID INTEGER,
  备注 TEXT,
  类别ID INTEGER
);
INSERT INTO KMDsr (工艺ID, 编号, 简称, 工艺名称, 工艺性质, 工时类型, 车间ID, 备注, 类别ID) VALUES
  (1, 'GX01', '粗车', '粗车外圆', '加工', '计件', 10, '', 3),
  (2, 'GX02', '总装', '整机装配', '装配', '计时', 10, '', 7);

-- Company organisation; 组织类型 1 management, 2 warehouse, 3 workshop, 4 other. The unit 0203
-- has no kind.
CREATE TABLE kmdbm (
  部门ID INTEGER PRIMARY KEY,
  部门编码 TEXT,
  部门名称 TEXT,
  英文名称 TEXT,
  是否明细 INTEGER NOT NULL DEFAULT 1,
  级次 INTEGER,
  是否使用 INTEGER NOT NULL DEFAULT 1,
  是否存放物品 INTEGER NOT NULL DEFAULT 0,
  是否参与生产 INTEGER NOT NULL DEFAULT 0,
  是否参与采购 INTEGER NOT NULL DEFAULT 0,
  是否参与销售 INTEGER NOT NULL DEFAULT 0,
  组织类型 INTEGER,
  属性 INTEGER NOT NULL DEFAULT 0,
  是否允许负库存 INTEGER NOT NULL DEFAULT 0,
  是否与产品连接 INTEGER NOT NULL DEFAULT 0,
  不参与物料运算 INTEGER NOT NULL DEFAULT 0,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO kmdbm (部门ID, 部门编码, 部门名称, 英文名称, 是否明细, 级次, 是否使用, 是否存放物品, 是否参与生产,
                   是否参与采购, 是否参与销售, 组织类型, 属性, 是否允许负库存, 是否与产品连接, 不参与物料运算, 是否系统) VALUES
  (1, '01', '总经理办公室', 'General Office', 1, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1),
  (2, '02', '财务部', 'Finance', 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0),
  (3, '0201', '会计科', 'Accounting', 0, 2, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0),
  (4, '020101', '总账组', 'Ledger', 1, 3, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0),
  (5, '020102', '出纳组', 'Cashier', 1, 3, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0),
  (6, '0202', '审计科', 'Audit', 1, 2, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0),
  (7, '03', '原料仓', 'Material Store', 1, 1, 1, 1, 0, 1, 0, 2, 1, 0, 1, 0, 0),
  (8, '04', '成品仓', 'Goods Store', 1, 1, 1, 1, 0, 0, 1, 2, 2, 1, 1, 0, 0),
  (9, '05', '一车间', 'Workshop 1', 0, 1, 1, 0, 1, 0, 0, 3, 0, 0, 0, 0, 0),
  (10, '0501', '机加工组', 'Machining', 1, 2, 1, 0, 1, 0, 0, 3, 0, 0, 0, 0, 0),
  (11, '06', '外协加工点', 'Subcontractor', 1, 1, 1, 0, 1, 0, 0, 4, 0, 0, 0, 1, 0),
  (12, '0901', '驻外办事处', 'Branch Office', 1, 2, 1, 0, 0, 0, 1, 4, 0, 0, 0, 0, 0),
  (13, '0203', '临时小组', '', 1, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);

-- Warehouse attributes offered to the organisation form.
INSERT INTO xt_billattribute (ProgID, attribute, code, caption, text) VALUES
  ('200003', '仓库属性', '01', '普通仓', '1'),
  ('200003', '仓库属性', '02', '成品仓', '2'),
  ('200003', '仓库属性', '03', '废品仓', '3');

-- Employees (the staff file of the employee form): the cashier in 020102 and the manager in 01, a
-- system row, and staff in the ledger group 020101, the machining group 0501 and the subcontractor
-- 06. 性别 1 is male; 文化程度ID, 职务ID and 类别ID refer to kmdwhcd, kmdzw and kmdzylb; a date
-- never given reads 1900-01-01.
CREATE TABLE KMDGY (
  雇员ID INTEGER PRIMARY KEY,
  雇员编号 TEXT,
  姓名 TEXT,
  性别 INTEGER NOT NULL DEFAULT 0,
  出生日期 TEXT,
  身份证号码 TEXT,
  文化程度ID INTEGER,
  邮编 TEXT,
  家庭地址 TEXT,
  家庭电话 TEXT,
  部门ID INTEGER,
  职务ID INTEGER,
  类别ID INTEGER,
  雇佣日期 TEXT,
  工资帐号 TEXT,
  紧急联系人姓名 TEXT,
  紧急联系电话 TEXT,
  备注 TEXT,
  手机 TEXT,
  mail TEXT,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDGY (雇员ID, 雇员编号, 姓名, 性别, 出生日期, 身份证号码, 文化程度ID, 邮编, 家庭地址, 家庭电话, 部门ID, 职务ID,
                   类别ID, 雇佣日期, 工资帐号, 紧急联系人姓名, 紧急联系电话, 备注, 手机, mail, 是否系统) VALUES
  (1, 'E001', '张伟', 1, '1985-03-12', '310101198503120011', 2, '200001', '上海市黄浦区', '021-63210001', 5, 3, 1,
   '2010-07-01', '6222000000000001', '张芳', '13900000001', '', '13800000001', 'zhangwei@example.com', 0),
  (2, 'E002', '李娜', 0, '1975-11-02', '310101197511020022', 1, '200002', '上海市静安区', '021-63210002', 1, 1, 1,
   '2005-01-10', '6222000000000002', '王军', '13900000002', '', '13800000002', 'lina@example.com', 1),
  (3, 'E003', '王强', 1, '1990-06-30', '', 1, '', '', '', 4, 2, 1, '2015-03-01', '', '', '', '', '13800000003', '', 0),
  (4, 'E004', '赵敏', 0, '1993-09-15', '', 3, '', '', '', 10, NULL, 2, '2018-05-20', '', '', '', '', '', '', 0),
  (5, 'E005', '陈刚', 1, '1900-01-01', '', 3, '', '', '', 10, NULL, 3, '2021-08-01', '', '', '', '试用期', '', '', 0),
  (6, 'E006', '刘洋', 1, '1988-02-28', '', 2, '', '', '', 11, NULL, 2, '2012-04-16', '', '', '', '', '', '', 0);

-- Stock documents: a transfer from the material store (line) to the goods store (head).
CREATE TABLE JXCDJ (
  单据ID INTEGER PRIMARY KEY,
  单据编号 TEXT,
  部门ID INTEGER,
  仓库ID INTEGER,
  原仓库ID INTEGER
);
INSERT INTO JXCDJ (单据ID, 单据编号, 部门ID, 仓库ID, 原仓库ID) VALUES
  (1, 'DB0001', NULL, 8, NULL);

CREATE TABLE JXCDJMX (
  明细ID INTEGER PRIMARY KEY,
  单据ID INTEGER,
  产品ID INTEGER,
  仓库ID INTEGER,
  原仓库ID INTEGER
);
INSERT INTO JXCDJMX (明细ID, 单据ID, 产品ID, 仓库ID, 原仓库ID) VALUES
  (1, 1, 1, NULL, 7);

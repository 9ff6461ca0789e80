-- Indexes for the statements the forms send: every duplicate check of a code or a name, the child
-- counts of the coded trees (a LIKE 'code%' is served by an index that ignores case, as LIKE does),
-- and the loads. Where a load reads only indexed columns the index covers it, so that its order
-- replaces the sort.

-- Units: the load (order by 代码) from the covering index; names checked on their own.
CREATE INDEX KMDJLDW_代码 ON KMDJLDW (代码, 名称, 是否系统);
CREATE INDEX KMDJLDW_名称 ON KMDJLDW (名称);

-- Flat dictionaries: codes and names.
CREATE INDEX KMDXSY_代码 ON KMDXSY (代码, 类型ID);
CREATE INDEX KMDXSY_名称 ON KMDXSY (名称, 类型ID);
CREATE INDEX KMDZW_编号 ON KMDZW (编号);
CREATE INDEX KMDZW_职务 ON KMDZW (职务);
CREATE INDEX KMDWHCD_文化程度 ON KMDWHCD (文化程度);
CREATE INDEX KMDZYLB_类别代码 ON KMDZYLB (类别代码);
CREATE INDEX KMDZYLB_职员类别 ON KMDZYLB (职员类别);
CREATE INDEX KMDSKFS_收款名称 ON KMDSKFS (收款名称);
CREATE INDEX KMDHYFS_货运方式 ON KMDHYFS (货运方式);
CREATE INDEX KMDBillType_代码 ON KMDBillType (票据类型代码);
CREATE INDEX KMDBillType_名称 ON KMDBillType (票据类型名称);
CREATE INDEX KMDItem_编号 ON KMDItem (项目编号);
CREATE INDEX KMDItem_名称 ON KMDItem (项目名称);
CREATE INDEX KMDQMSPOItem_编码 ON KMDQMSPOItem (项目编码);
CREATE INDEX KMDQMSPOItem_名称 ON KMDQMSPOItem (项目名称);
CREATE INDEX KMDQMSCMItem_编码 ON KMDQMSCMItem (项目编码);
CREATE INDEX KMDQMSCMItem_名称 ON KMDQMSCMItem (项目名称);

-- Regions: the load (order by 级次,编码) from the covering index; codes, child counts, names.
CREATE INDEX kmddq_级次 ON kmddq (级次, 编码, 地区, 是否明细, 是否系统);
CREATE INDEX kmddq_编码 ON kmddq (编码);
CREATE INDEX kmddq_编码_like ON kmddq (编码 COLLATE NOCASE);
CREATE INDEX kmddq_地区 ON kmddq (地区);

-- The other coded trees: codes, child counts, names.
CREATE INDEX kmdlxlx_编码 ON kmdlxlx (编码);
CREATE INDEX kmdlxlx_编码_like ON kmdlxlx (编码 COLLATE NOCASE);
CREATE INDEX kmdlxlx_联系类型 ON kmdlxlx (联系类型);
CREATE INDEX KMDSRLB_类别编码 ON KMDSRLB (类别编码);
CREATE INDEX KMDSRLB_类别编码_like ON KMDSRLB (类别编码 COLLATE NOCASE);
CREATE INDEX KMDSRLB_类别名称 ON KMDSRLB (类别名称);
CREATE INDEX kmdcplb_类别编码 ON kmdcplb (类别编码);
CREATE INDEX kmdcplb_类别编码_like ON kmdcplb (类别编码 COLLATE NOCASE);
CREATE INDEX kmdcplb_类别名称 ON kmdcplb (类别名称);
CREATE INDEX kmdbm_部门编码 ON kmdbm (部门编码);
CREATE INDEX kmdbm_部门编码_like ON kmdbm (部门编码 COLLATE NOCASE);
CREATE INDEX kmdbm_部门名称 ON kmdbm (部门名称);
CREATE INDEX kmdkjkm_科目编码 ON kmdkjkm (科目编码);
